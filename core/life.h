// Whether the driver is in service, and which of its repeating jobs wait in the framework's queue.
//
// The legal combinations:
// - closed 0, driver_initialized 0: not started yet, starting, or stopped. Jobs of an earlier start go on until one of
//   their own reasons ends them.
// - closed 0, driver_initialized 1: running. Status poll and publishing job are queued where the queue took them.
// - closed 1, driver_initialized 0: out of service. Jobs that were queued end at their next tick.
// Both 1 never.
//
// A job's flag is 1 exactly while one such job is queued. Everybody reads the flags; the functions below, on the
// command thread, are their only writers.
#pragma once

struct PTZDriverCanon;

class LifeFlag {
  public:
    operator bool() const { return set_; }

  private:
    friend class Life;
    bool set_;
};

enum class Job { status_poll, publishing, status_dump };

class Life {
  public:
    // Back in service after a close, or for the first time: tasks and callbacks count again.
    static void open(PTZDriverCanon *self);
    // Start-up is complete; not after a close.
    static void run(PTZDriverCanon *self);
    // The camera block is being stopped, or started again.
    static void stop(PTZDriverCanon *self);
    // Out of service: tasks and callbacks that come late do nothing.
    static void close(PTZDriverCanon *self);

    // Notes that the job is queued; false when it was already, and then it must not be queued again.
    static bool begin(PTZDriverCanon *self, Job job);
    // The job was not taken by the queue, or will not be run again.
    static void end(PTZDriverCanon *self, Job job);
    // Whether the job goes on: not once the driver is closed or, but for the dump, the temperature out of range. What
    // does not go on has ended.
    static bool goes_on(PTZDriverCanon *self, Job job);

  private:
    static LifeFlag &flag(PTZDriverCanon *self, Job job);
};
