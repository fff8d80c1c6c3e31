#include "scenegraph/io/SDBWriter.h"

#include "core/Error.h"
#include "support/ContainerBytes.h"
#include "support/WriterFixture.h"

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// How files are added to that somebody left in the middle.
using WriterAppendTest = WriterTest;

TEST_F(WriterAppendTest, aFileHeaderThatClaimsToBeAnUnfinishedRecordIsNotCutOff)
{
    writer.close();
    std::string content = bytes();
    content.insert(1, R"("DataField":"Header","FilePos":"0","Length":"0",)");
    std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << content;
    EXPECT_EQ(writer.open(path, true, false), FileIoStatus::OpenFailed);
    EXPECT_EQ(bytes(), content);
}

TEST_F(WriterAppendTest, appendingGoesOnBehindTheLastWholeItemOrIsRefused)
{
    const auto unfinished = [](ContainerBytes content) {
        return content.record("unfinished", {{"T", "payload"}}, position("Length", 0));
    };
    const ContainerBytes whole = ContainerBytes().record("a");
    const ContainerBytes cut = unfinished(whole);
    const std::string beyondEnd = ContainerBytes(whole).record("b", {{"T", "xy"}}).str();
    const ContainerBytes odd = ContainerBytes(whole)
                                   .record("b", {{"T", "xy"}}, position("BinaryData", 0))
                                   .raw("foreign")
                                   .thumbnail(0, position("Length", 5));
    const Edit noPosition = [](Properties& tag)
    {
        position("FilePos", 0)(tag);
        position("Length", 0)(tag);
    };

    const struct
    {
        std::string content;
        std::vector<std::string> titles; ///< after another record; none if that is refused
        std::size_t kept;                ///< bytes in front of the new record
    } cases[] = {
        {whole.str(), {"a", "new"}, whole.size()},
        {whole.str() + "\r\n ", {"a", "new"}, whole.size() + 3},
        {odd.str(), {"a", "b", "new"}, odd.size()},
        {cut.str(), {"a", "new"}, whole.size()},
        {cut.str() + R"({"DataField":"Hea)", {"a", "new"}, whole.size()},
        {ContainerBytes(whole).thumbnail(0, noPosition).str(), {"a", "new"}, whole.size()},
        {ContainerBytes(cut).record("b").str(), {"a", "b", "new"}, ContainerBytes(cut).record("b").size()},
        {beyondEnd.substr(0, beyondEnd.size() - 1), {}, 0},
        {ContainerBytes(whole).thumbnail(0).str() + "{\n", {}, 0},
    };

    Scene scene;
    for (const auto& test : cases)
    {
        SCOPED_TRACE(&test - cases);
        writer.close();
        replaceBytes(test.content);
        FileIoStatus status{};
        const std::string messages = stderrOf([&] { status = writer.open(path, true, false); });
        EXPECT_EQ(bytes(), test.content) << "opening changes nothing";
        EXPECT_EQ(status, test.titles.empty() ? FileIoStatus::OpenFailed : FileIoStatus::Success);
        EXPECT_EQ(messages.find("can't append") != std::string::npos, test.titles.empty()) << messages;
        if (status == FileIoStatus::Success)
        {
            add(writer, scene, "s", "new");
            EXPECT_EQ(bytes().compare(0, test.kept, test.content, 0, test.kept), 0);
            std::vector<std::string> titles;
            for (const Properties& record : records())
            {
                titles.push_back(record.getString("Title"));
            }
            EXPECT_EQ(titles, test.titles);
            EXPECT_EQ(sdb::hexFromProp(reader.getRecords().back(), "FilePos"), test.kept);
        }
    }
    writer.close();
    replaceBytes(whole.str() + "{X=1}");
    EXPECT_THROW(writer.open(path, true, false), InternalError);
    EXPECT_EQ(bytes(), whole.str() + "{X=1}");
}

TEST_F(WriterAppendTest, appendingToAnyPrefixIsReadableOrRefusedAndUnchanged)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    tsg::Bitmap<3> picture;
    picture.resize(2, 3);
    std::vector<std::size_t> ends{
        bytes().size()}; ///< of the file header and the items, alternately records and pictures
    for (int item = 0; item < 4; ++item)
    {
        item % 2 == 0 ? add(writer, scene) : static_cast<int>(writer.addThumbnail(item, picture));
        ends.push_back(bytes().size());
    }
    writer.close();
    const std::string content = bytes();
    const auto appendTo = [&](const std::string& prefix)
    {
        const auto whole = std::upper_bound(ends.begin(), ends.end(), prefix.size()) - ends.begin();
        const std::size_t begin = whole == 0 ? 0 : ends[whole - 1]; // of what is cut
        const bool isTagCut = prefix.find('}', begin) == std::string::npos;
        // What is cut behind its tag reaches beyond the end, into whatever would be added.
        const FileIoStatus cutTag = whole == 0 ? FileIoStatus::WrongFormat : FileIoStatus::Success;
        const FileIoStatus cutBody = whole == 0 ? FileIoStatus::Success : FileIoStatus::OpenFailed;
        replaceBytes(prefix);
        SDBWriter appender;
        const FileIoStatus status = appender.open(path, true, true);
        EXPECT_EQ(bytes(), prefix) << "opening changes nothing";
        ASSERT_EQ(status, isTagCut ? cutTag : cutBody);
        if (status == FileIoStatus::Success)
        {
            add(appender, scene, "new");
            const auto items = std::max<std::ptrdiff_t>(whole - 1, 0);
            ASSERT_EQ(bytes().compare(0, begin, prefix, 0, begin), 0);
            ASSERT_EQ(records().size(), (items + 1) / 2 + 1);
            EXPECT_EQ(reader.getRecords().back().getString("SessionID"), "new");
            EXPECT_EQ(reader.getThumbnails().size(), items / 2);
        }
    };
    for (std::size_t length = 0; length <= content.size(); ++length)
    {
        SCOPED_TRACE(length);
        stderrOf([&] { appendTo(content.substr(0, length)); });
    }
}

} // namespace
