#include "scenegraph/io/SDBWriter.h"

#include "support/WriterFixture.h"

#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// Writers of other processes.
class WriterRivalsTest : public WriterTest
{
protected:
    WriterRivalsTest() { writer.close(); }

    /// Opens the file for adding as soon as it is free, has `add` add to it, and answers whether that was acknowledged.
    bool addInTurn(const std::function<bool(SDBWriter&)>& add) const
    {
        SDBWriter own;
        while (own.open(path, true, true) != FileIoStatus::Success)
        {
        }
        return add(own) && !own.hasFailed();
    }
};

/// Does works at the same time, each in a process of its own; how many answered true.
int succeeded(const std::vector<std::function<bool()>>& works)
{
    for (const auto& work : works)
    {
        if (fork() == 0)
        {
            std::cerr.setstate(std::ios::failbit); // of refusals there are many
            _exit(work() ? 0 : 1);
        }
    }
    int count = 0;
    for (int status = 0; wait(&status) != -1;)
    {
        count += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    return count;
}

TEST_F(WriterRivalsTest, everythingThatOneOfThemIsToldOfIsThere)
{
    constexpr int ROUNDS = 30;
    const auto addRecord = [this]
    {
        return addInTurn(
            [](SDBWriter& own)
            {
                Scene scene;
                scene.with(counting(VTK_DOUBLE, "T", 5000, 1));
                return add(own, scene) >= 0;
            });
    };
    const auto addThumbnail = [this] {
        return addInTurn([](SDBWriter& own) { return own.addThumbnail(0, tsg::Bitmap<3>()) == FileIoStatus::Success; });
    };
    for (int round = 0; round < ROUNDS; ++round)
    {
        EXPECT_EQ(succeeded({addRecord, addThumbnail, addRecord}), 3);
    }
    ASSERT_EQ(records().size(), std::size_t{2 * ROUNDS});
    EXPECT_EQ(reader.getThumbnails().size(), std::size_t{ROUNDS});
    for (int record = 0; record < 2 * ROUNDS; ++record)
    {
        EXPECT_EQ(load(record)->arrays.size(), 1U) << record;
    }
}

TEST_F(WriterRivalsTest, stampsOfAnotherProcessSayNothing)
{
    // A copy of this process goes on counting stamps by itself.
    const auto addAs = [&](double value)
    {
        Scene scene;
        auto polys = triangle();
        polys->GetPoints()->SetPoint(0, value, 0, 0);
        polys->GetPointData()->AddArray(floats("inner", {value, 2, 3}));
        scene.with(floats("T", {value})).with(polys);
        return addInTurn([&](SDBWriter& own) { return add(own, scene) >= 0; });
    };
    EXPECT_EQ(succeeded({[&] { return addAs(1); }}), 1);
    EXPECT_TRUE(addAs(2));
    const std::vector<Properties> stored = blocks();
    ASSERT_EQ(stored.size(), 4U);
    ASSERT_EQ(stored[0].getString("MTime"), stored[2].getString("MTime"));
    ASSERT_EQ(stored[1].getString("MTime"), stored[3].getString("MTime"));
    const auto loaded = load(1);
    EXPECT_THAT(valuesOf(loaded->arrays.at("point SceneNode_1/T")), ElementsAre(2));
    EXPECT_EQ(loaded->polys.at("SceneNode_1")->GetPoint(0)[0], 2);

    replaceBytes("");
    ASSERT_EQ(writer.open(path, false, true), FileIoStatus::Success);
    writer.close();
    EXPECT_EQ(succeeded({[&] { return addAs(1); }}), 1);
    EXPECT_TRUE(addAs(1));
    EXPECT_THAT(payloads(), ElementsAre(0, 1, 0, 1)) << "the same data is referred to";
}

} // namespace
