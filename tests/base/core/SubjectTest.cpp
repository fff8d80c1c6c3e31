#include "core/Subject.h"

#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

namespace
{

/// Notes that it was called and then does what the test says.
class NotingObserver : public Observer
{
public:
    NotingObserver(char name, std::string& calls)
        : _name(name)
        , _calls(calls)
    {
    }

    void update(const Properties& event) override
    {
        _calls += _name;
        _calls += event.getString("Event");
        then();
    }

    std::function<void()> then = [] {};

private:
    char _name;
    std::string& _calls;
};

class SubjectTest : public testing::Test
{
protected:
    SubjectTest()
    {
        _event.set("Event", "!");
        _subject.attach(_a);
        _subject.attach(_b);
    }

    std::string notify()
    {
        _calls.clear();
        _subject.notify(_event);
        return _calls;
    }

    Subject _subject;
    Properties _event;
    std::string _calls;
    NotingObserver _a{'a', _calls};
    NotingObserver _b{'b', _calls};
    NotingObserver _c{'c', _calls};
};

TEST_F(SubjectTest, observersAreCalledOnceInTheOrderOfAttaching)
{
    _subject.attach(_a);
    _subject.attach(_c);
    EXPECT_EQ(notify(), "a!b!c!");
    _subject.detach(_a);
    _subject.detach(_a);
    EXPECT_EQ(notify(), "b!c!");
}

TEST_F(SubjectTest, observersMayComeAndGoDuringTheCall)
{
    _a.then = [this]
    {
        _subject.detach(_a);
        _subject.detach(_b);
        _subject.attach(_c);
    };
    EXPECT_EQ(notify(), "a!");
    EXPECT_EQ(notify(), "c!");
}

TEST_F(SubjectTest, anExceptionPassesThroughAndLeavesTheSubjectUsable)
{
    _a.then = [] { throw std::runtime_error("cancelled"); };
    EXPECT_THROW(notify(), std::runtime_error);
    EXPECT_EQ(_calls, "a!");
    _a.then = [] {};
    EXPECT_EQ(notify(), "a!b!");
}

} // namespace
