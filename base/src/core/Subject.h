#pragma once

#include "core/Export.h"
#include "core/Properties.h"

#include <vector>

/// Receives the notifications of a Subject. What it throws passes through Subject::notify.
class TAVO_EXPORT Observer
{
public:
    virtual ~Observer();
    virtual void update(const Properties& event) = 0;
};

/// Notifies its observers synchronously, on the calling thread, in the order in which they were attached.
class TAVO_EXPORT Subject
{
public:
    virtual ~Subject();

    /// Adds an observer, which stays owned by the caller and must be detached before it dies. Adding one twice has
    /// no effect.
    void attach(Observer& observer);
    /// Removes an observer; one that is not attached is ignored.
    void detach(Observer& observer);

    /// Hands the event to every observer. Observers may attach and detach during the call: one that was detached is
    /// not called any more, one that was attached is called from the next notification on.
    void notify(const Properties& event);

private:
    std::vector<Observer*> _observers;
};
