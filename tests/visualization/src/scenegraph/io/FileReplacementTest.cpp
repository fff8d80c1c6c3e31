#include "scenegraph/io/SDB.h"

#include "support/TemporaryDirectory.h"

namespace
{

using namespace test;

TEST(FileReplacementTest, aReaderKeepsItsFileWhileTheNameIsTakenByAnother)
{
    const TemporaryDirectory directory;
    const TemporaryFile path = directory.file("a.sce");
    writeBytes(path.narrow, "old");
    const auto reader = sdb::binaryIfstreamShareDelete(path.wide);
    ASSERT_TRUE(reader->is_open());
    EXPECT_TRUE(sdb::renameToTempAndMarkForDeletion(path.wide));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    writeBytes(path.narrow, "new");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*reader), {}), "old");
    const auto later = sdb::binaryIfstreamShareDelete(path.wide);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*later), {}), "new");

    std::filesystem::create_directory(directory.file("folder").narrow);
    for (const std::wstring& other : {directory.file("missing").wide, directory.file("folder").wide, std::wstring(),
                                      path.wide + std::wstring(1, L'\0')})
    {
        EXPECT_FALSE(sdb::binaryIfstreamShareDelete(other)->is_open());
        EXPECT_FALSE(sdb::renameToTempAndMarkForDeletion(other));
    }
    EXPECT_EQ(bytesOf(path.narrow), "new");
}

} // namespace
