#include "platform/FileStreams.h"

#include "platform/FileSystem.h"
#include "support/TemporaryDirectory.h"
#include "support/Unprivileged.h"

#include <cerrno>

#include <sys/stat.h>

namespace
{

using namespace test;

std::ptrdiff_t openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class FileStreamsTest : public testing::Test
{
protected:
    ~FileStreamsTest() override { EXPECT_EQ(openDescriptors(), _descriptorsBefore); }

    void write(const std::string& content) const { writeBytes(file.narrow, content); }

    std::string content() const { return bytesOf(file.narrow); }

    const TemporaryDirectory directory;
    const TemporaryFile file = directory.file("file");

private:
    const std::ptrdiff_t _descriptorsBefore = openDescriptors();
};

TEST_F(FileStreamsTest, readingSeeksOverMoreThanABuffer)
{
    std::string content;
    for (int i = 0; i < 20000; ++i)
    {
        content += std::to_string(i) + "\r\n";
    }
    write(content);
    const auto stream = OS::openForReading(file.wide);
    ASSERT_TRUE(stream->is_open() && stream->good());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*stream), {}), content);
    stream->clear();
    for (const std::size_t position : {std::size_t{0}, content.size() - 3, std::size_t{8191}, std::size_t{50000}})
    {
        stream->seekg(static_cast<std::streamoff>(position));
        EXPECT_EQ(stream->get(), content[position]);
        EXPECT_EQ(stream->tellg(), static_cast<std::streamoff>(position + 1));
    }
    stream->close();
    EXPECT_FALSE(stream->is_open() || stream->fail());
}

TEST_F(FileStreamsTest, whatIsNoRegularFileIsRefusedWithTheReason)
{
    const auto fifo = directory.file("fifo"); // opening it must not wait for a writer
    ASSERT_EQ(mkfifo(fifo.narrow.c_str(), 0600), 0);
    const std::pair<std::wstring, int> cases[] = {{directory.file("missing").wide, ENOENT},
                                                  {L"", ENOENT},
                                                  {directory.widePath(), EISDIR},
                                                  {L"/dev/zero", ENOTSUP},
                                                  {fifo.wide, ENOTSUP}};
    for (const auto& [path, reason] : cases)
    {
        errno = 0;
        const auto reader = OS::openForReading(path);
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(!reader->is_open() && reader->fail());
        errno = 0;
        OS::UpdateStream update(path);
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(!update.is_open() && update.fail() && !update.truncate(0));
    }
}

TEST_F(FileStreamsTest, permissionsAreObeyed)
{
    using std::filesystem::perms;
    write("x");
    std::filesystem::permissions(directory.path(), perms::all);
    for (const perms allowed : {perms::none, perms::owner_read | perms::group_read | perms::others_read})
    {
        std::filesystem::permissions(file.narrow, allowed);
        const Unprivileged user;
        if (!user)
        {
            GTEST_SKIP() << "the superuser may not become an ordinary user here";
        }
        EXPECT_EQ(OS::openForReading(file.wide)->is_open(), allowed != perms::none);
        EXPECT_FALSE(OS::UpdateStream(file.wide).is_open());
        EXPECT_EQ(errno, EACCES);
    }
}

TEST_F(FileStreamsTest, updatesInPlaceAndCuts)
{
    write("0123456789");
    {
        OS::UpdateStream stream(file.wide);
        ASSERT_TRUE(stream.is_open() && stream.good());
        EXPECT_EQ(stream.tellp(), 0);
        stream << "ab";
        stream.seekp(8);
        stream << "yz!" << std::flush;
        EXPECT_EQ(content(), "ab234567yz!");
        EXPECT_TRUE(stream.truncate(4));
        EXPECT_EQ(stream.tellp(), 11);
        stream.seekp(0, std::ios::end);
        EXPECT_EQ(stream.tellp(), 4);
        stream << "E" << std::flush;
        EXPECT_TRUE(stream.truncate(7));
        EXPECT_FALSE(stream.truncate(UINT64_MAX));
        EXPECT_EQ(errno, EFBIG);
        stream.close();
        EXPECT_EQ(content(), std::string("ab23E\0\0", 7));
        EXPECT_TRUE(stream.truncate(3)) << "a stream that could not be flushed is closed before it is cut";
    }
    EXPECT_EQ(content(), "ab2");

    OS::UpdateStream stream(file.wide);
    stream << "kept" << std::flush << "lost";
    stream.discard();
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(content(), "kept");
}

TEST_F(FileStreamsTest, writingBeginsWithAnEmptyRegularFile)
{
    write("what was there before");
    for (const auto& path : {file.wide, directory.file("new").wide})
    {
        const auto stream = OS::openForWriting(path, OS::LineEnds::AsWritten);
        ASSERT_TRUE(stream->is_open() && stream->good());
        *stream << "a\n";
        stream->close();
        EXPECT_EQ(std::filesystem::file_size(path), 2U);
    }
    const auto fifo = directory.file("fifo");
    ASSERT_EQ(mkfifo(fifo.narrow.c_str(), 0600), 0);
    const std::pair<std::wstring, int> cases[] = {{directory.file("missing/file").wide, ENOENT},
                                                  {directory.widePath(), EISDIR},
                                                  {L"/dev/null", ENOTSUP},
                                                  {fifo.wide, ENXIO},
                                                  {file.wide + std::wstring(1, L'\0'), EINVAL}};
    for (const auto& [path, reason] : cases)
    {
        errno = 0;
        const auto stream = OS::openForWriting(path, OS::LineEnds::OfThePlatform);
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(!stream->is_open() && stream->fail());
    }
}

TEST_F(FileStreamsTest, cuttingFollowsTheOpenFileNotItsPath)
{
    write("first");
    OS::UpdateStream stream(file.wide);
    const auto moved = directory.file("moved");
    std::filesystem::rename(file.narrow, moved.narrow);
    write("second");
    EXPECT_TRUE(stream.truncate(2));
    EXPECT_EQ(content(), "second");
    EXPECT_EQ(bytesOf(moved.narrow), "fi");
}

} // namespace
