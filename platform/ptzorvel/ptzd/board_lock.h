// One PTZ service a board: two would drive the same lines and talk over the same link, whatever bus each is on.
#pragma once

#include <string>

class BoardLock {
  public:
    // Of the camera on that video channel with that id, on the simulated board if there is one ($PTZ_BOARD).
    BoardLock(int channel, int id);
    ~BoardLock();
    BoardLock(const BoardLock &) = delete;
    BoardLock &operator=(const BoardLock &) = delete;

    // Takes the board until this object or the process ends, and tells others the process and `bus`, an address. False
    // when another process has it; `problem` then names that one and says what to do. Where no folder can be written
    // there is no lock: true, with a warning in the log.
    bool take(const std::string &bus, std::string &problem);

  private:
    std::string name_;
    int fd_ = -1;
};
