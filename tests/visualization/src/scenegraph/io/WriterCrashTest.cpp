#include "scenegraph/io/SDBWriter.h"

#include "core/Error.h"
#include "platform/Apart.h"
#include "support/ContainerBytes.h"
#include "support/FileSizeLimit.h"
#include "support/WriterFixture.h"

#include <csignal>

#include <sys/resource.h>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// What killed processes and full disks leave, and how writing goes on from there.
using WriterCrashTest = WriterTest;

/// From now on the process is killed as soon as it writes beyond this size.
void dieBeyondFileSize(std::size_t size)
{
    const rlimit noCore{0, 0}, tight{size, size};
    setrlimit(RLIMIT_CORE, &noCore);
    setrlimit(RLIMIT_FSIZE, &tight);
}

/// A writer whose process is killed when it has made so many steps.
class MortalWriter : public SDBWriter
{
public:
    explicit MortalWriter(int steps)
        : _steps(steps)
    {
    }

protected:
    Properties writeHeader(const std::string& rootNodeKey, const std::string& title, const std::string& description,
                           const std::string& sessionId, unsigned long long recordPos, unsigned long long length,
                           unsigned long long binaryData) override
    {
        step();
        return SDBWriter::writeHeader(rootNodeKey, title, description, sessionId, recordPos, length, binaryData);
    }

    void moveFileStreamTo(std::streampos position) override
    {
        step();
        SDBWriter::moveFileStreamTo(position);
    }

    void flushFileStream() override
    {
        step();
        SDBWriter::flushFileStream();
    }

private:
    void step()
    {
        if (--_steps == 0)
        {
            raise(SIGKILL);
        }
    }

    int _steps;
};

TEST_F(WriterCrashTest, aKilledProcessLosesNoAcknowledgedRecord)
{
    constexpr std::size_t ENDLESS = std::size_t{1} << 30;
    Scene scene, large("SceneNode_2");
    scene.with(floats("T", {1, 2, 3}));
    large.with(floats("large", std::vector<double>(5000, 1.5))); // more than a stream buffers
    tsg::Bitmap<3> picture;
    picture.resize(40, 30);
    add(writer, scene);
    writer.close();
    const std::string before = bytes();

    const auto isKilled = [&](bool isRecord, std::size_t room, int steps)
    {
        replaceBytes(before);
        const auto work = [&]
        {
            MortalWriter written(steps);
            written.open(path, true, false);
            dieBeyondFileSize(before.size() + room);
            isRecord ? add(written, large) : static_cast<int>(written.addThumbnail(0, picture));
        };
        return !OS::runApart(work).ended;
    };
    const auto expectAllOrNothing = [&]
    {
        ASSERT_EQ(bytes().compare(0, before.size(), before), 0);
        const std::size_t whole = records().size(), pictures = reader.getThumbnails().size();
        EXPECT_EQ(load(static_cast<int>(whole) - 1)->arrays.size(), 1U) << "a record is there with all its data";
        ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
        EXPECT_EQ(add(writer, scene), whole);
        writer.close();
        EXPECT_EQ(blocks().back().getString("FilePos"), blocks().front().getString("FilePos"));
        EXPECT_EQ(load(static_cast<int>(whole))->arrays.size(), 1U);
        EXPECT_EQ(reader.getThumbnails().size(), pictures);
    };
    for (const bool isRecord : {true, false})
    {
        SCOPED_TRACE(isRecord ? "record" : "thumbnail");
        for (std::size_t room = 0; isKilled(isRecord, room, 0); room += room < 700 ? 61 : 3001)
        {
            SCOPED_TRACE("at byte " + std::to_string(room));
            expectAllOrNothing();
            EXPECT_EQ(reader.getRecords().size(), 2U) << "what was not whole is gone";
        }
        expectAllOrNothing();
        EXPECT_EQ(reader.getRecords().size() + reader.getThumbnails().size(), 3U);
    }
    int steps = 1;
    for (std::size_t whole = 1; isKilled(true, ENDLESS, steps); ++steps)
    {
        SCOPED_TRACE("at step " + std::to_string(steps));
        EXPECT_GE(records().size(), whole) << "once it is whole it stays";
        whole = reader.getRecords().size();
        expectAllOrNothing();
    }
    EXPECT_GE(steps, 8);
    EXPECT_EQ(records().size(), 2U);
}

/// A writer that remembers what the file holds after each of its steps.
class WatchedWriter : public SDBWriter
{
public:
    explicit WatchedWriter(std::string path)
        : _path(std::move(path))
    {
    }

    std::vector<std::string> states;

protected:
    void moveFileStreamTo(std::streampos position) override
    {
        SDBWriter::moveFileStreamTo(position);
        states.push_back(bytesOf(_path));
    }

    void flushFileStream() override
    {
        SDBWriter::flushFileStream();
        states.push_back(bytesOf(_path));
    }

private:
    std::string _path;
};

TEST_F(WriterCrashTest, aHeaderThatIsTornWhileItIsRewrittenFinishesNoItem)
{
    Scene scene; // whatever is cut of it, a brace follows
    scene.with(arrayOf(VTK_UNSIGNED_CHAR, "braces", 1, std::vector<double>(7000, '{')));
    tsg::Bitmap<3> picture;
    picture.resize(50, 40);
    std::fill_n(picture.getData(), picture.getSize(), std::uint8_t{'{'});
    const std::string header = bytes();
    writer.close();
    for (const bool isRecord : {true, false})
    {
        replaceBytes(header);
        WatchedWriter watched(file.narrow);
        ASSERT_EQ(watched.open(path, true, false), FileIoStatus::Success);
        isRecord ? add(watched, scene) : static_cast<int>(watched.addThumbnail(0, picture));
        watched.close();
        std::size_t torn = 0;
        for (std::size_t i = 1; i < watched.states.size(); ++i)
        {
            const std::string before = watched.states[i - 1], after = watched.states[i];
            for (std::size_t at = 0; before.size() == after.size() && at < after.size(); ++at)
            {
                if (before[at] != after[at])
                {
                    replaceBytes(after.substr(0, at + 1) + before.substr(at + 1));
                    const std::size_t whole = bytes() == watched.states.back() ? 1 : 0;
                    ASSERT_EQ(records().size() + reader.getThumbnails().size(), whole) << "byte " << at;
                    ASSERT_EQ(SDBWriter().open(path, true, false), FileIoStatus::Success) << "byte " << at;
                    ++torn;
                }
            }
        }
        EXPECT_GT(torn, 5U);
    }
}

TEST_F(WriterCrashTest, aFullDiskCostsOnlyTheItemThatDidNotFit)
{
    Scene small, large("SceneNode_2"), mesh("SceneNode_3");
    small.with(floats("T", {1, 2, 3}));
    const std::vector<double> values(6000, 1.5); // more than a stream buffers
    const auto points = onePoint();
    points->SetPoints(pointsOf(VTK_DOUBLE, values));
    large.with(floats("large", values));
    mesh.with(points);
    tsg::Bitmap<3> picture;
    picture.resize(40, 30);
    add(writer, small);
    writer.close();
    const std::string before = bytes();

    const auto adding = [](Scene& scene)
    {
        return [&](SDBWriter& target)
        {
            int index = -1;
            try
            {
                index = add(target, scene);
            }
            catch (const InternalError& error) // what has no room is values of a polydata
            {
                EXPECT_EQ(error.message(), "Writing DataArray failed");
            }
            EXPECT_EQ(index, target.hasFailed() ? -1 : 1);
        };
    };
    const std::function<void(SDBWriter&)> additions[] = {
        adding(large),
        adding(mesh),
        [&](SDBWriter& target) { EXPECT_EQ(target.addThumbnail(0, picture), FileIoStatus::Success); },
    };
    for (const auto& addition : additions)
    {
        bool hasFailed = true;
        for (std::size_t room = 0; hasFailed; room += room < 1500 ? 1 : 97)
        {
            replaceBytes(before);
            SDBWriter written;
            ASSERT_EQ(written.open(path, true, false), FileIoStatus::Success);
            std::string message;
            {
                const FileSizeLimit limit(before.size() + room);
                message = stderrOf([&] { addition(written); });
            }
            hasFailed = written.hasFailed();
            EXPECT_EQ(message.find("file.sce failed") != std::string::npos, hasFailed);
            if (hasFailed)
            {
                ASSERT_EQ(bytes(), before) << room;
                EXPECT_EQ(written.addThumbnail(0, picture), FileIoStatus::NotOpen);
            }
            else
            {
                EXPECT_LE(bytes().size(), before.size() + room);
            }
        }
    }
    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    EXPECT_EQ(add(writer, small), 1);
    EXPECT_EQ(records().size(), 2U);
}

TEST_F(WriterCrashTest, aFileIsReplacedOnlyOnceTheNewOneIsWhole)
{
    const std::string header = bytes();
    Scene scene;
    add(writer, scene);
    writer.close();
    const std::string old = bytes();
    records();
    for (std::size_t room = 0; room < header.size(); ++room)
    {
        const FileSizeLimit limit(room);
        ASSERT_EQ(writer.open(path, false, true), FileIoStatus::OpenFailed) << room;
        ASSERT_EQ(writer.open(directory.file("new.sce").wide, room % 2 == 0, true), FileIoStatus::OpenFailed);
        ASSERT_EQ(bytes(), old);
        ASSERT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);
    }
    {
        const FileSizeLimit limit(header.size());
        EXPECT_EQ(writer.open(path, false, true), FileIoStatus::Success);
    }
    EXPECT_EQ(bytes(), header);
    EXPECT_TRUE(reader.loadRecord(0, stream)) << "a reader of the old file keeps its view";
    EXPECT_EQ(stream.nodes.size(), 1U);
    EXPECT_EQ(records().size(), 0U);
}

} // namespace
