#include "core/Subject.h"

#include "support/Testing.h"

namespace
{

/// Notes that it was called and then does what the test says.
struct NotingObserver : Observer
{
    NotingObserver(char observerName, std::string& noted)
        : name(observerName)
        , calls(noted)
    {
    }

    void update(const Properties& event) override
    {
        calls += name + event.getString("Event");
        then();
    }

    const char name;
    std::string& calls;
    std::function<void()> then = [] {};
};

class SubjectTest : public testing::Test
{
protected:
    SubjectTest()
    {
        subject.attach(a);
        subject.attach(b);
    }

    std::string notify()
    {
        calls.clear();
        subject.notify(Properties(R"({"Event":"!"})"));
        return calls;
    }

    Subject subject;
    std::string calls;
    NotingObserver a{'a', calls}, b{'b', calls}, c{'c', calls};
};

TEST_F(SubjectTest, observersAreCalledOnceInTheOrderOfAttaching)
{
    subject.attach(a);
    subject.attach(c);
    EXPECT_EQ(notify(), "a!b!c!");
    subject.detach(a);
    subject.detach(a);
    EXPECT_EQ(notify(), "b!c!");
}

TEST_F(SubjectTest, observersMayComeAndGoDuringTheCall)
{
    a.then = [this]
    {
        subject.detach(a);
        subject.detach(b);
        subject.attach(c);
    };
    EXPECT_EQ(notify(), "a!");
    EXPECT_EQ(notify(), "c!");
}

} // namespace
