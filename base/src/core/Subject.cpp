#include "core/Subject.h"

#include <algorithm>

Observer::~Observer() = default;
Subject::~Subject() = default;

void Subject::attach(Observer& observer)
{
    if (std::find(_observers.begin(), _observers.end(), &observer) == _observers.end())
    {
        _observers.push_back(&observer);
    }
}

void Subject::detach(Observer& observer)
{
    _observers.erase(std::remove(_observers.begin(), _observers.end(), &observer), _observers.end());
}

void Subject::notify(const Properties& event)
{
    const std::vector<Observer*> attached = _observers;
    for (Observer* observer : attached)
    {
        if (std::find(_observers.begin(), _observers.end(), observer) != _observers.end())
        {
            observer->update(event);
        }
    }
}
