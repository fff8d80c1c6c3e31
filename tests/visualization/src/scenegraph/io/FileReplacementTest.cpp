#include "scenegraph/io/SDB.h"

#include "support/TemporaryDirectory.h"
#include "support/Testing.h"

#include <sys/stat.h>

namespace
{

using namespace test;

class FileReplacementTest : public testing::Test
{
protected:
    TemporaryFile file(const std::string& name, const std::string& content)
    {
        const TemporaryFile path = directory.file(name);
        writeBytes(path.narrow, content);
        return path;
    }

    std::ptrdiff_t entries() const { return std::distance(std::filesystem::directory_iterator(directory.path()), {}); }

    TemporaryDirectory directory;
};

TEST_F(FileReplacementTest, aReaderKeepsItsFileWhileTheNameIsTakenByAnother)
{
    const TemporaryFile path = file("a.sce", "old");
    const auto reader = sdb::binaryIfstreamShareDelete(path.wide);
    ASSERT_TRUE(reader->is_open());
    EXPECT_TRUE(sdb::renameToTempAndMarkForDeletion(path.wide));
    EXPECT_EQ(entries(), 0);
    file("a.sce", "new");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*reader), {}), "old");
    const auto later = sdb::binaryIfstreamShareDelete(path.wide);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*later), {}), "new");
}

TEST_F(FileReplacementTest, onlyRegularFilesAreOpenedOrReplaced)
{
    const TemporaryFile folder = directory.file("folder");
    const TemporaryFile pipe = directory.file("pipe");
    ASSERT_TRUE(std::filesystem::create_directory(folder.narrow));
    ASSERT_EQ(mkfifo(pipe.narrow.c_str(), 0600), 0);
    for (const std::wstring& path : {directory.file("missing").wide, folder.wide, pipe.wide, std::wstring(),
                                     file("nul", "").wide + std::wstring(1, L'\0')})
    {
        const auto stream = sdb::binaryIfstreamShareDelete(path);
        ASSERT_NE(stream, nullptr);
        EXPECT_FALSE(stream->is_open());
        EXPECT_FALSE(sdb::renameToTempAndMarkForDeletion(path));
    }
    EXPECT_EQ(entries(), 3);
}

} // namespace
