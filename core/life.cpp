#include "core/life.h"

#include "core/instance.h"

LifeFlag &Life::flag(PTZDriverCanon *self, Job job)
{
    switch (job) {
    case Job::status_poll:
        return self->status_poll_active;
    case Job::status_dump:
        return self->status_dump_active;
    default:
        return self->publishing_active;
    }
}

void Life::open(PTZDriverCanon *self)
{
    self->closed.set_ = false;
}

void Life::run(PTZDriverCanon *self)
{
    self->driver_initialized.set_ = !self->closed;
}

void Life::stop(PTZDriverCanon *self)
{
    self->driver_initialized.set_ = false;
}

void Life::close(PTZDriverCanon *self)
{
    stop(self);
    self->closed.set_ = true;
}

bool Life::begin(PTZDriverCanon *self, Job job)
{
    LifeFlag &active = flag(self, job);
    if (active)
        return false;
    active.set_ = true;
    return true;
}

void Life::end(PTZDriverCanon *self, Job job)
{
    flag(self, job).set_ = false;
}

bool Life::goes_on(PTZDriverCanon *self, Job job)
{
    if (!self->closed && (job == Job::status_dump || self->temp_controller->temperature_ok))
        return true;
    end(self, job);
    return false;
}
