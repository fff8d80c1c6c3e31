#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"

#include "support/TemporaryDirectory.h"
#include "support/Unprivileged.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace
{

using std::filesystem::perms;
using tsg::io::FileIoStatus;

constexpr perms READ_ONLY = perms::owner_read | perms::group_read | perms::others_read;
constexpr perms EXECUTE = perms::owner_exec | perms::group_exec | perms::others_exec;

TEST(PermissionTest, whatMayNotBeOpenedFailsAndStaysAsItIs)
{
    const test::TemporaryDirectory directory;
    const auto file = directory.file("file.sce");
    tsg::SDBWriter writer;
    ASSERT_EQ(writer.open(file.wide, false, true), FileIoStatus::Success);
    writer.close();
    const auto size = std::filesystem::file_size(file.narrow);

    std::filesystem::permissions(directory.path(), READ_ONLY | EXECUTE);
    std::filesystem::permissions(file.narrow, READ_ONLY);
    {
        const test::Unprivileged user;
        if (!user)
        {
            GTEST_SKIP() << "the superuser may not become an ordinary user here";
        }
        tsg::SDBReader reader;
        EXPECT_EQ(reader.open(file.wide), FileIoStatus::Success);
        EXPECT_EQ(writer.open(file.wide, true, true), FileIoStatus::OpenFailed) << "the file is read-only";
        EXPECT_EQ(writer.open(directory.file("new.sce").wide, false, true), FileIoStatus::OpenFailed);
    }
    std::filesystem::permissions(file.narrow, perms::none);
    {
        const test::Unprivileged user;
        tsg::SDBReader reader;
        EXPECT_EQ(reader.open(file.wide), FileIoStatus::OpenFailed);
        EXPECT_EQ(writer.open(file.wide, true, true), FileIoStatus::OpenFailed);
        EXPECT_EQ(writer.open(file.wide, false, true), FileIoStatus::OpenFailed) << "the old file cannot be moved away";
    }
    std::filesystem::permissions(directory.path(), perms::owner_all);
    EXPECT_EQ(std::filesystem::file_size(file.narrow), size);
}

} // namespace
