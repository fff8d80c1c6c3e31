#include "support/ContainerBytes.h"
#include "support/LogCapture.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <iomanip>
#include <map>
#include <set>

namespace
{

using namespace test;

/// What loading a record delivers, as text.
std::string describe(const RecordingStream& stream)
{
    std::string res;
    for (const auto& [key, properties] : stream.nodes)
    {
        res += key + properties.toString() + '\n';
    }
    for (const auto& [name, array] : stream.arrays)
    {
        res += name + ' ' + testing::PrintToString(valuesOf(array)) + '\n';
    }
    for (const auto& [key, polys] : stream.polys)
    {
        res += key + ' ' + std::to_string(polys->GetNumberOfPoints()) + '\n';
    }
    return res;
}

class RecoverTest : public ToolTest
{
protected:
    /// The records of a file by title, as far as they can be loaded.
    std::map<std::string, std::string> recordsOf(const std::string& name) const
    {
        std::map<std::string, std::string> res;
        tsg::SDBReader reader;
        reader.open(dir.file(name).wide);
        for (const Properties& header : reader.getRecords())
        {
            RecordingStream stream;
            if (reader.loadRecord(header, stream))
            {
                res[header.getString("Title")] = describe(stream);
            }
        }
        return res;
    }

    /// How many records of a file can be loaded.
    std::size_t recordsIn(const std::string& name) const
    {
        tsg::SDBReader reader;
        reader.open(dir.file(name).wide);
        const auto& records = reader.getRecords();
        return static_cast<std::size_t>(std::count_if(records.begin(), records.end(),
                                                      [&](const Properties& header)
                                                      {
                                                          RecordingStream stream;
                                                          return reader.loadRecord(header, stream);
                                                      }));
    }

    /// Three records, the second and third with data of the first, and pictures of the first and last.
    std::string sharedFile() const
    {
        const TemporaryFile file = dir.file("whole.sce");
        Scene scene;
        scene.with(triangle()).with(floats("T", {1, 2, 3}));
        tsg::SDBWriter writer;
        writer.open(file.wide, false, true);
        tsg::Bitmap<3> picture;
        picture.resize(2, 2);
        for (const int record : {0, 1, 2})
        {
            add(writer, scene, "s", "record " + std::to_string(record));
            if (record != 1)
            {
                writer.addThumbnail(record, picture);
            }
        }
        writer.close();
        return bytesOf(file.narrow);
    }
};

/// The first and last byte of what a tag describes.
std::pair<std::uint64_t, std::uint64_t> extentOf(const Properties& tag)
{
    const std::uint64_t begin = sdb::hexFromProp(tag, "FilePos");
    return {begin, begin + sdb::hexFromProp(tag, "Length")};
}

TEST_F(RecoverTest, anUndamagedFileComesOutAsItIs)
{
    const std::string whole = sharedFile();
    const ToolRun recovered = run("recover @whole.sce -o @out.sce");
    EXPECT_EQ(recovered.code, 0) << recovered.err;
    EXPECT_THAT(recovered.out, HasSubstr("3 records and 2 thumbnails kept, 0 pieces dropped"));
    EXPECT_TRUE(bytes("out.sce") == whole);
    EXPECT_TRUE(bytes("whole.sce") == whole);
}

TEST_F(RecoverTest, whateverByteIsDamagedTheUntouchedRecordsComeBack)
{
    const LogCapture log;
    const std::string whole = sharedFile();
    const auto expected = recordsOf("whole.sce");
    ASSERT_EQ(expected.size(), 3U);
    tsg::SDBReader reader;
    reader.open(dir.file("whole.sce").wide);
    // What the later records share lies in the first.
    const auto firstEnd = extentOf(reader.getRecords()[0]).second;
    const std::uint64_t firstPayload = whole.find("\"FilePos\"", whole.find("\"BinaryData\",\"ObjectKey"));
    for (std::size_t n = 0; n < whole.size(); n += 7)
    {
        std::string damaged = whole;
        damaged[n] = "\n}{\xff"[n % 4];
        write("x.sce", damaged);
        SCOPED_TRACE("byte " + std::to_string(n));
        const ToolRun recovered = run("recover --force @x.sce -o @out.sce");
        if (recovered.code == 5)
        {
            EXPECT_TRUE(n >= firstPayload && n < firstEnd) << recovered.err; // which all of them need
            continue;
        }
        ASSERT_LE(recovered.code, 1) << recovered.err;
        const auto found = recordsOf("out.sce");
        for (std::size_t i = 0; i < 3; ++i)
        {
            const auto [begin, end] = extentOf(reader.getRecords()[i]);
            const bool isTouched = (n >= begin && n < end) || (i > 0 && n >= firstPayload && n < firstEnd);
            const auto record = found.find("record " + std::to_string(i));
            ASSERT_TRUE(isTouched || record != found.end()) << recovered.out;
            EXPECT_TRUE(isTouched || record->second == expected.at(record->first));
        }
        EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
    }
}

TEST_F(RecoverTest, whatADroppedRecordHeldIsWrittenWithTheFirstThatNeedsIt)
{
    std::string damaged = sharedFile();
    const auto expected = recordsOf("whole.sce");
    damaged[damaged.find("\"Node\"")] = '\n';
    write("x.sce", damaged);
    const ToolRun recovered = run("recover --json @x.sce -o @out.sce");
    EXPECT_EQ(recovered.code, 1);
    const auto found = recordsOf("out.sce");
    EXPECT_EQ(found.size(), 2U);
    EXPECT_EQ(found.at("record 1"), expected.at("record 1"));
    EXPECT_EQ(found.at("record 2"), expected.at("record 2"));
    const auto info = this->info("out.sce");
    EXPECT_EQ(at(info, "/totals/blocks"), "4");
    EXPECT_EQ(at(info, "/totals/sharedBlocks"), "2");
    // The picture of the dropped record goes with it, the other one follows its record.
    EXPECT_EQ(at(info, "/thumbnails"), "[" + at(info, "/thumbnails/0") + "]");
    EXPECT_EQ(at(info, "/thumbnails/0/recordIndex"), "1");
    EXPECT_EQ(at(recovered.json(), "/kept/0/record"), "1");
    EXPECT_EQ(at(recovered.json(), "/kept/0/newRecord"), "0");
    EXPECT_EQ(at(recovered.json(), "/dropped/0/title"), R"("record 0")");
    EXPECT_EQ(at(recovered.json(), "/dropped/1/reason"), R"("its record is dropped")");
}

TEST_F(RecoverTest, picturesStayWithTheirRecords)
{
    const LogCapture log;
    const TemporaryFile file = dir.file("whole.sce");
    Scene scene;
    scene.with(floats("T", {1, 2, 3}));
    tsg::SDBWriter writer;
    writer.open(file.wide, false, true);
    tsg::Bitmap<3> picture;
    picture.resize(2, 2);
    const auto addPicture = [&](int record)
    {
        std::fill_n(picture.getData(), 12, static_cast<unsigned char>('a' + record));
        writer.addThumbnail(record, picture);
    };
    addPicture(2); // before its record
    std::vector<std::size_t> begins;
    for (const int record : {0, 1, 2, 3})
    {
        begins.push_back(bytesOf(file.narrow).size());
        add(writer, scene, "s" + std::to_string(record), std::string(1, static_cast<char>('a' + record)));
        addPicture(record);
    }
    writer.addThumbnail(0, picture); // a newer one, with the colour of the last
    addPicture(0);
    writer.close();
    const std::string whole = bytesOf(file.narrow);
    const auto with = [&](std::size_t at, const std::string& damage)
    { return std::string(whole).replace(at, damage.size(), damage); };
    const std::size_t header = begins[1], size = begins[2] - header;
    const std::size_t length = whole.find("\"Length\"", header) + 10;
    const Edit crashed = position("Length", 0xf000000000000123);
    const std::string giveUp = ContainerBytes().record("a").record("b", {}, crashed).record("c").thumbnail(1).str();

    /// Record by record and picture by picture, each by its letter.
    struct Case
    {
        const char* what;
        std::string bytes, expected;
    };

    const Case cases[] = {
        {"nothing is damaged", whole, "aa bb cc cc dd ad aa"},
        {"a header's first byte", with(header, "x"), "aa cc cc dd ad aa"},
        {"a header's last byte", with(whole.find('}', header), "x"), "aa cc cc dd ad aa"},
        {"the kind in a header", with(header + 14, "Hexder"), "aa cc cc dd ad aa"},
        {"a length at random", with(length, "0000000000000003"), "aa bb cc cc dd ad aa"},
        {"a node", with(whole.find("\"Node\"", header), "{"), "aa cc cc dd ad aa"},
        {"a picture", with(whole.rfind("{", header - 13), "x"), "bb cc cc dd ad aa"},
        {"a header with all that would count it", with(header, std::string(size - 170, '\0')), "aa ad aa"},
        {"two records", with(header + 14, std::string(size, '\0')), "aa ad aa"},
        {"a record that was given up", giveUp, "ca"},
    };
    for (const Case& aCase : cases)
    {
        SCOPED_TRACE(aCase.what);
        write("x.sce", aCase.bytes);
        run("recover --force @x.sce -o @out.sce");
        EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
        std::string found;
        tsg::SDBReader reader;
        reader.open(dir.file("out.sce").wide);
        for (const Properties& tag : reader.getThumbnails())
        {
            reader.getThumbnailData(tag, picture);
            const auto record = static_cast<std::size_t>(tag.getInt("RecordIndex"));
            found += (found.empty() ? "" : " ") + reader.getRecords().at(record).getString("Title") +
                     static_cast<char>(picture.getData()[0]);
        }
        EXPECT_EQ(found, aCase.expected);
    }
}

TEST_F(RecoverTest, whatIsNotFollowedFromTheHeadersIsSetRight)
{
    const std::string abc("\0abc", 4);
    ContainerBytes file;
    file.record("a", {{"T", abc, {}, chars()}});
    const auto payload = file.lastPayload;
    const auto frame = [](int number)
    { return [=](Properties& tag) { tag.set("Frame", number, Properties::Overwrite); }; };
    file.record("b", {{"U", "", payload, chars()}}, frame(7)).raw("junk");
    write("x.sce", file.record("c", {{"V", abc, {}, chars()}}, position("BinaryData", 9)).str());
    EXPECT_EQ(run("verify @x.sce").code, 1);
    EXPECT_EQ(run("recover @x.sce -o @out.sce").code, 1);
    EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
    EXPECT_EQ(recordsOf("out.sce"), recordsOf("x.sce"));
}

TEST_F(RecoverTest, aRecordEndsWhereItsTagsLead)
{
    const LogCapture log;
    const RawBlock block{"T", std::string("\0abc", 4), {}, chars()};
    const auto file = [&](const Edit& edit, const std::string& behind, bool isLast)
    {
        ContainerBytes res;
        res.record("a", {block}).record("b", {block, block}, edit).raw(behind);
        return isLast ? res.str() : res.record("c", {block}).thumbnail(2).str();
    };
    const auto longer = [](std::int64_t bytes)
    {
        return [=](Properties& tag)
        { position("Length", sdb::hexFromProp(tag, "Length") + static_cast<std::uint64_t>(bytes))(tag); };
    };
    const std::string foreign = R"({"DataField":"Other","Of":{"a":1}})";
    const std::string node = R"({"DataField":"Node","ObjectKey":"N_2","Properties":{}})";

    const struct
    {
        Edit edit;
        std::string behind;
        bool mayBeLast; ///< whether it can be told from a file that has lost its end
    } cases[] = {
        {{}, "", true},
        {longer(-3), "", true},
        {longer(-3), "\r\n", true},
        {longer(-200), "", true}, // the second block behind it
        {longer(3), "", true},
        {longer(300), "", false},
        {position("Length", std::uint64_t{1} << 40), "", false},
        {{}, foreign, true},
        {longer(static_cast<std::int64_t>(foreign.size())), foreign, true},
        {{}, node, true},
        {longer(2), "\r\n", true},
        {position("Length", 3), "", true},
        {position("Length", INT64_MAX), "", true},
        {position("FilePos", 3), "", true},
        {position("FilePos", UINT64_MAX), foreign, true},
    };

    for (const auto& [edit, behind, mayBeLast] : cases)
    {
        for (const bool isLast : {false, true})
        {
            const std::string damaged = file(edit, behind, isLast), whole = file({}, "", isLast);
            SCOPED_TRACE(damaged);
            write("x.sce", damaged);
            const ToolRun recovered = run("recover --force @x.sce -o @out.sce");
            EXPECT_EQ(bytes("out.sce") == whole, mayBeLast || !isLast) << recovered.out;
            EXPECT_EQ(run("verify @x.sce").code, damaged == whole ? 0 : 1) << run("verify @x.sce").out;
            EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
        }
    }
}

TEST_F(RecoverTest, tagsOfOtherWritersAreCopiedAsTheyAre)
{
    const auto hex = [](std::size_t value)
    {
        std::ostringstream out;
        out << std::uppercase << std::hex << std::setfill('0') << std::setw(3) << value; // not 16 digits
        return out.str();
    };
    const std::string fileHeader = ContainerBytes().str();
    std::string file = "{ " + fileHeader.substr(1, fileHeader.size() - 2) + "\r\n";
    const std::string payload("\0abc", 4);
    std::size_t shared = 0;
    for (const char* const title : {"1", "2"})
    {
        const auto header = [&](std::size_t length, std::size_t blocks)
        {
            return R"({"Length" : ")" + hex(length) + R"(", "SessionID":"{}\u007d","Title": "caf\u00e9 )" + title +
                   R"(","Version":2,"RootNodeKey":"N_1", "FilePos":"0","File\u0050os":")" + hex(file.size()) +
                   R"(","BinaryData":")" + hex(blocks) + R"(","Frame": 0,"DataField":"Header" })";
        };
        const std::string node = R"({"Properties" : { },"ObjectKey":"N_1", "DataField":"Node"})";
        const std::size_t blocks = file.size() + header(0, 0).size() + node.size();
        const auto block = [&](std::size_t filePos)
        {
            return R"({"DataType":3,"NumberOfTuples":3,"NumberOfComponents":1,"Name":"T", "Length":"4","FilePos":")" +
                   hex(filePos) + R"(","Tag":1,"ObjectKey":"N_1","DataField":"BinaryData"})";
        };
        const bool isFirst = shared == 0;
        shared = isFirst ? blocks + block(0).size() : shared;
        const std::string contents = node + block(shared) + (isFirst ? payload : "");
        file += header(header(0, 0).size() + contents.size(), blocks) + contents;
    }
    const auto thumbnail = [&](std::size_t filePos)
    {
        return R"({"FilePos":")" + hex(filePos) + R"(", "Length":"C","Height":2,"Width":2,"RecordIndex" : 1 ,)" +
               R"("DataField":"Thumbnail"})";
    };
    file += thumbnail(file.size() + thumbnail(0).size()) + std::string(12, 'p');
    write("x.sce", file);
    EXPECT_EQ(run("verify @x.sce").code, 0) << run("verify @x.sce").out;
    EXPECT_EQ(run("recover @x.sce -o @out.sce").code, 0);
    EXPECT_EQ(bytes("out.sce"), file);

    // Where the first record is dropped only numbers are exchanged.
    file[file.find("Properties")] = '\n';
    write("x.sce", file);
    EXPECT_EQ(run("recover --force @x.sce -o @out.sce").code, 1);
    EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
    EXPECT_THAT(bytes("out.sce"),
                HasSubstr(R"("Title": "caf\u00e9 2","Version":2,"RootNodeKey":"N_1", "FilePos":"0",)"));
    EXPECT_THAT(bytes("out.sce"), HasSubstr(R"("Height":2,"Width":2,"RecordIndex" : 0 ,"DataField":"Thumbnail"})"));
}

TEST_F(RecoverTest, whatOnlyLooksWholeIsNotTakenForIt)
{
    const std::string abc("\0abc", 4);
    ContainerBytes types;
    types.record("a", {{"T", abc, {}, chars()}});
    types.record("b", {{"T", "", types.lastPayload, chars({}, VTK_CHAR)}});
    const Edit earlier = [](Properties& tag) { position("FilePos", sdb::hexFromProp(tag, "FilePos") - 1)(tag); };

    struct Case
    {
        std::string bytes, kept;
    };

    const Case cases[] = {
        {types.str(), "2 records and 0 thumbnails"},                                           // one payload, two types
        {ContainerBytes().record("a").thumbnail(0, earlier).raw("m").str(), "1 record and 0"}, // a picture moved a byte
        {ContainerBytes("junk" + ContainerBytes().str()).record("a").str(), "1 record"}, // bytes before the header
        {types.str() + types.str(), "2 records and"},                                    // positions of another file
    };
    for (const Case& aCase : cases)
    {
        SCOPED_TRACE(aCase.bytes);
        write("x.sce", aCase.bytes);
        EXPECT_THAT(run("recover --force @x.sce -o @out.sce").out, HasSubstr(aCase.kept));
        EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
    }
}

TEST_F(RecoverTest, whatIsSoundInTheCorpusComesBackAndIsClean)
{
    const LogCapture log;
    std::size_t recovered = 0;
    for (const std::string target : {"append", "index", "record"})
    {
        for (const auto& entry : std::filesystem::directory_iterator(TAVO_CORPUS_DIR "/" + target))
        {
            SCOPED_TRACE(entry.path());
            write("x.sce", bytesOf(entry.path().string()));
            const ToolRun result = run("recover --force --json @x.sce -o @out.sce");
            ASSERT_LE(result.code, 5);
            std::set<std::string> unsound;
            const auto checked = run("verify --json @x.sce").json();
            if (result.code > 1)
            {
                continue;
            }
            for (const auto& finding : checked["files"][0]["findings"].GetArray())
            {
                if (finding["severity"] == "error" && finding["code"] != "item-hidden" && finding.HasMember("record"))
                {
                    unsound.insert(at(finding, "/record"));
                }
            }
            const auto records = static_cast<std::size_t>(checked["files"][0]["records"].GetInt());
            const std::size_t kept = recordsIn("out.sce");
            EXPECT_EQ(kept, records - unsound.size());
            EXPECT_EQ(run("verify @out.sce").code, 0) << run("verify @out.sce").out;
            recovered += kept;
        }
    }
    EXPECT_GE(recovered, 6U);
}

TEST_F(RecoverTest, failuresLeaveNothingBehind)
{
    write("none.sce", ContainerBytes().record("a", {{"T", "\7abc"}}).str());
    write("header.sce", ContainerBytes().str());
    write("taken.sce", "taken");
    const std::pair<std::string, int> cases[] = {
        {"@none.sce -o @out.sce", 5},  {"@missing.sce -o @out.sce", 3},           {"@taken.sce -o @out.sce", 4},
        {"@none.sce -o @none.sce", 2}, {"@none.sce -o @missing-folder/o.sce", 6}, {"@header.sce -o @taken.sce", 6},
    };
    for (const auto& [arguments, code] : cases)
    {
        EXPECT_EQ(run("recover " + arguments).code, code) << arguments;
    }
    EXPECT_EQ(bytes("taken.sce"), "taken");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 3);
    EXPECT_EQ(run("recover @header.sce -o @out.sce").code, 0);
}

} // namespace
