#include "Findings.h"

#include "support/ContainerBytes.h"
#include "support/DatasetBlocks.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <regex>

namespace
{

using namespace test;

class VerifyTest : public ToolTest
{
protected:
    /// The codes that are found in a file of these bytes, in order, with blanks between them.
    std::string codesOf(const std::string& bytes) const
    {
        write("x.sce", bytes);
        return codesOfFile("x.sce");
    }

    std::string codesOfFile(const std::string& name) const
    {
        std::string res;
        const auto json = run("verify --json @" + name).json();
        for (const auto& finding : json["files"][0]["findings"].GetArray())
        {
            res += (res.empty() ? "" : " ") + std::string(finding["code"].GetString());
        }
        return res;
    }

    /// A file as writers leave it: two records that share an array, with a picture, and an appended session.
    std::string honestFile() const
    {
        const TemporaryFile file = dir.file("honest.sce");
        Scene scene;
        scene.with(triangle()).with(floats("T", {1, 2, 3}));
        tsg::SDBWriter writer;
        writer.open(file.wide, false, true);
        add(writer, scene);
        tsg::Bitmap<3> picture;
        picture.resize(2, 2);
        writer.addThumbnail(0, picture);
        scene.afterSerialize = [](tsg::NodeStream& stream)
        {
            if (static_cast<tsg::SDBWriter&>(stream).getExportBinaryData())
            {
                throw std::runtime_error("in the middle of a record");
            }
        };
        EXPECT_THROW(add(writer, scene), std::runtime_error);
        scene.afterSerialize = nullptr;
        add(writer, scene);
        writer.close();
        writer.open(file.wide, true, false);
        scene.with(floats("empty", {})).with(counting(VTK_BIT, "bits", 9, 1)).with(counting(VTK_ID_TYPE, "ids", 3, 1));
        add(writer, scene, "other session");
        writer.close();
        return bytesOf(file.narrow);
    }
};

Edit number(const std::string& key, int value)
{
    return [=](Properties& tag) { tag.set(key, value, Properties::Overwrite); };
}

Edit text(const std::string& key, const std::string& value)
{
    return [=](Properties& tag) { tag.set(key, value, Properties::Overwrite); };
}

RawBlock array(const std::string& name, const std::string& payload, const Edit& edit = {})
{
    return {name, payload, {}, chars(edit)};
}

/// Of 99 bytes.
std::string aZlibBlock()
{
    const std::string res = block(std::vector<char>(99, 'a'), tsg::CompressionMethods::Zlib);
    return res.substr(0, res.size() - 1);
}

const std::string ABC("\0abc", 4);

RawBlock polys(const std::string& payload)
{
    return {"", payload, {}, number("Tag", sdb::PolyData)};
}

TEST_F(VerifyTest, whatWritersLeaveIsClean)
{
    EXPECT_EQ(codesOf(honestFile()), "");
    write("a.vtp", *triangle());
    EXPECT_EQ(run("import -o @i.sce @a.vtp @a.vtp").code, 0);
    EXPECT_EQ(run("import --append -o @i.sce @a.vtp").code, 0);
    EXPECT_EQ(run("export --scene-directory @i.sce -o @d").code, 0);
    const ToolRun all = run("verify @i.sce @honest.sce @d/record-0000");
    EXPECT_EQ(all.code, 0) << all.out << all.err;
    EXPECT_THAT(all.out, HasSubstr("honest.sce: 3 records, 1 thumbnail"));
}

TEST_F(VerifyTest, everyKindOfDamageHasItsCode)
{
    const auto aRecord = [](const RawBlock& block) { return ContainerBytes().record("a", {block}).str(); };
    ContainerBytes shares;
    shares.record("a", {array("T", ABC)});
    const auto payload = shares.lastPayload;
    const Edit earlier = [](Properties& tag) { position("FilePos", sdb::hexFromProp(tag, "FilePos") - 1)(tag); };
    const Edit shorter = [](Properties& tag)
    {
        const std::uint64_t blocks = sdb::hexFromProp(tag, "BinaryData");
        position("Length", blocks - sdb::hexFromProp(tag, "FilePos"))(tag);
    };
    const std::string triangleBlock = header() + points(3) + cells("POLYGONS", 1, {3, 0, 1, 2});
    const std::pair<std::string, std::string> cases[] = {
        {aRecord(array("T", ABC)), ""},
        {ContainerBytes(shares.str()).record("b", {{"T", "", payload, chars()}}).str(), ""},
        {aRecord(polys(triangleBlock)), ""},
        // the top level
        {"broken" + shares.str().substr(6), "header-damaged"},
        {ContainerBytes("junk" + ContainerBytes().str()).record("a").str(), "gap"},
        {ContainerBytes(shares.str()).raw(ContainerBytes().str()).str(), "header-repeated"},
        {ContainerBytes(shares.str()).record("b", {}, position("Length", 0)).str(), "record-unfinished"},
        {ContainerBytes(shares.str()).thumbnail(0, position("FilePos", 0), "").str(), "thumbnail-unfinished"},
        {ContainerBytes(shares.str()).record("b", {}, position("Length", 3)).str(), "position-damaged"},
        {ContainerBytes(shares.str()).record("b", {}, text("Length", "f")).record("c").str(), "position-damaged"},
        {ContainerBytes(shares.str()).record("b", {}, position("Length", 0xf000000000000123)).str(),
         "record-unfinished"},
        {ContainerBytes(shares.str()).thumbnail(0, position("FilePos", 0x8000000000000123)).str(), "position-damaged"},
        {ContainerBytes(shares.str()).record("b", {}, position("FilePos", 3)).str(), "position-damaged"},
        {ContainerBytes().record("a").str() + ContainerBytes().record("a").str(), "header-repeated position-damaged"},
        {shares.str() + "{}", "tag-stray"},
        {shares.str() + R"({"DataField":"Other"})", "tag-unknown"},
        {shares.str() + "junk", "gap"},
        {shares.str() + "{junk\n", "unreadable"},
        {ContainerBytes(shares.str()).raw("{junk\n").record("b").str(), "unreadable item-hidden"},
        // records
        {ContainerBytes().record("a", {array("T", ABC)}, text("DataField", "Hexder")).str(),
         "tag-unknown record-lost tag-unknown gap"},
        {shares.str().substr(0, shares.size() - 1), "record-broken"},
        {ContainerBytes().record("a", {array("T", ABC)}, shorter).str(), "record-length"},
        {ContainerBytes().record("a", {}, number("Version", 3)).str(), "record-version"},
        {ContainerBytes().record("a", {}, text("RootNodeKey", "N_9")).str(), "record-root"},
        {ContainerBytes().record("a", {array("T", ABC)}, position("BinaryData", 200)).str(), "record-blocks"},
        {ContainerBytes().record("a", {}, number("Frame", 1)).str(), "record-frame"},
        {aRecord(array("T", ABC, text("ObjectKey", "N_2"))), "node-missing"},
        {ContainerBytes().record("a", {array("T", ABC, text("ObjectKey", "N_2")), array("T", ABC)}).str(),
         "node-missing block-order"},
        {aRecord(array("T", std::string(2, '\0') + R"({"DataField":"Node","ObjectKey":"N_0","Properties":{}})",
                       position("Length", 2))),
         "record-order node-order block-size"},
        {aRecord(array("T", std::string(2, '\0') + R"({"DataField":"Nodx","ObjectKey":"N_2"})", position("Length", 2))),
         "record-tag block-size"},
        {aRecord(array("T", std::string(2, '\0') + R"({"DataField":"Other"})", position("Length", 2))),
         "block-size tag-unknown"},
        // blocks
        {aRecord(array("T", ABC, number("Tag", 8))), "block-kind"},
        {ContainerBytes(shares.str()).record("b", {{"U", "", payload, chars()}}).str(), "payload-shared"},
        {ContainerBytes(shares.str()).record("b", {{"T", "", payload, chars(number("DataType", VTK_CHAR))}}).str(),
         "payload-shared"},
        {aRecord(array("T", "\7abc")), "block-method"},
        {aRecord(array("T", ABC + "d")), "block-size"},
        {aRecord(array("T", aZlibBlock())), "block-longer"},
        {aRecord(array("T", ABC, number("NumberOfTuples", 0))), "block-size"},
        {aRecord(array("T", ABC.substr(0, 3))), "block-size"},
        {aRecord(array("T", aZlibBlock().replace(20, 3, "???"), number("NumberOfTuples", 99))), "zlib-damaged"},
        {aRecord(array("T", ABC, number("DataType", 13))), "array-type"},
        {aRecord(array("T", ABC, number("NumberOfTuples", -3))), "array-size"},
        {aRecord(polys(header() + points(3) + cells("POLYGONS", 1, {3, 0, 1, 9}))), "dataset-cells"},
        {aRecord(polys(header() + points(3) + cells("LINES", 2, {2, 0, 1}))), "dataset-cells"},
        {aRecord(polys(header() + points(3) + "POINT_DATA 2\n")), "dataset-counts"},
        {aRecord(polys(header() + points(3) + "POINT_DATA 3\nTALES a b\n")), "dataset-section"},
        {aRecord(polys(header() + points(3) + "TALES 1 2\n")), "dataset-section"},
        {aRecord(polys("nothing")), "dataset-damaged"},
        // thumbnails
        {ContainerBytes(shares.str()).thumbnail(0, {}, "short").record("b").str(), "thumbnail-damaged"},
        {ContainerBytes(shares.str()).thumbnail(0, earlier).raw("m").str(), "thumbnail-damaged gap"},
        {ContainerBytes(shares.str()).thumbnail(5).str(), "thumbnail-record"},
    };
    for (const auto& [bytes, codes] : cases)
    {
        EXPECT_EQ(codesOf(bytes), codes) << bytes;
    }
}

TEST_F(VerifyTest, sceneDirectoriesAreCheckedFileByFile)
{
    write("a.vtp", *triangle());
    run("import -o @i.sce @a.vtp");
    run("export --scene-directory @i.sce -o @d");
    EXPECT_EQ(codesOfFile("d"), "");
    EXPECT_THAT(run("tree @d").err, HasSubstr("Is a directory\nhint: it is a scene directory: `tavosce import` makes"));
    const auto chars = [](const std::string& tuples)
    {
        return R"({"ObjectKey":"N","Name":"x","DataType":3,"NumberOfComponents":1,"NumberOfTuples":)" + tuples +
               ",\"Size\":2,\"Tag\":0}\nab";
    };
    write("d/tsg/lost.dataArray", chars("2"));
    write("d/tsg/lost2.dataArray", chars("2"));
    write("d/tsg/lost3.dataArray", chars("3"));
    write("d/tsg/lost4.dataArray", chars("2") + "cd");
    const std::string polys = bytes("d/tsg/PolyDataNode_1.polyData");
    write("d/tsg/more.polyData", polys.substr(0, polys.find_last_not_of(" \n") + 1)); // perhaps in its last number
    std::filesystem::create_directory(path("d/tsg/folder"));
    write("d/scene.tsg",
          bytes("d/scene.tsg") + R"({"ObjectKey":"SceneNode_1","Properties":{}}junk{"x":1})" + "\n{\"a\n");
    EXPECT_EQ(codesOfFile("d"),
              "node-repeated scene-odd scene-odd scene-damaged file-irregular node-missing file-repeated node-missing "
              "file-repeated file-size node-missing file-repeated file-size node-missing file-refused");
    EXPECT_THAT(run("verify --quick @d").out, Not(HasSubstr("file-refused")));
    write("d/scene.tsg", "junk");
    EXPECT_EQ(codesOfFile("d").substr(0, 23), "scene-odd scene-damaged");
    EXPECT_EQ(run("verify @d").code, 1);
    EXPECT_EQ(run("verify --quick @d").code, 1);
}

TEST_F(VerifyTest, resultsNameTheirPlaceAndTheExitCodeTheWorst)
{
    const std::string damaged = ContainerBytes().record("a\n", {array("T", "\7abc")}).record("b").str();
    write("x.sce", damaged);
    const ToolRun text = run("verify @x.sce");
    EXPECT_EQ(text.code, 1);
    EXPECT_THAT(text.out,
                HasSubstr(R"(x.sce: record 0 "a\n" (byte 0x16a): error block-method: point array "T" of N_1: )"
                          "unknown compression method 7\n"));
    EXPECT_THAT(text.out, HasSubstr("2 records, 0 thumbnails"));
    const ToolRun json = run("verify --json @x.sce");
    EXPECT_EQ(at(json.json(), "/files/0/findings/0/node"), R"("N_1")") << json.out;
    EXPECT_EQ(at(json.json(), "/files/0/findings/0/byte"), "362");
    EXPECT_EQ(at(json.json(), "/files/0/errors"), "1");

    write(
        "note.sce",
        ContainerBytes()
            .record("a", {array("T", ABC, [](Properties& tag) { tag.set("ObjectKey", "N_7", Properties::Overwrite); })})
            .str());
    EXPECT_EQ(run("verify @note.sce").code, 0);
    EXPECT_THAT(run("verify @note.sce").out, HasSubstr("clean, with 1 note"));
    write("none.sce", ContainerBytes().record("a", {array("T", "\7abc")}).str());
    EXPECT_EQ(run("verify @none.sce").code, 5);
    EXPECT_EQ(run("verify --quick @none.sce").code, 5);
    write("lost.sce", ContainerBytes().record("a", {}, ::text("DataField", "Hexder")).str());
    EXPECT_EQ(run("verify @lost.sce").code, 5);
    write("foreign.sce", "no scene database");
    EXPECT_EQ(run("verify @foreign.sce @note.sce").code, 4);
    EXPECT_EQ(run("verify @missing.sce").code, 3);
    EXPECT_EQ(run("verify --json @missing.sce @note.sce").json()["files"].Size(), 2U);
}

TEST_F(VerifyTest, whatHasNoChecksumIsSummedUp)
{
    ContainerBytes file;
    file.record("a", {array("T", ABC), array("Z", aZlibBlock(), number("NumberOfTuples", 99)), array("bad", "\7abc")});
    file.record("b", {array("none", ""), array("U", ABC)});
    file.record("c", {{"U", "", file.lastPayload, chars()}}).thumbnail(0);
    // 36 bytes of points, 16 of cells, and 9 bits; the values of the other one are all compressed.
    const std::string triangleBlock = header() + points(3) + cells("POLYGONS", 1, {3, 0, 1, 2});
    const std::string bits = "FIELD FieldData 1\nb 1 9 bit\nab\n";
    const std::string zlibPoints = "POINTS 3 float\n" + block(std::vector<float>(9), tsg::CompressionMethods::Zlib);
    file.record("d", {polys(triangleBlock + bits), polys(header() + zlibPoints)});
    write("x.sce", file.str());
    EXPECT_EQ(at(run("verify --json @x.sce").json(), "/files/0/unchecked"), R"({"payloads":4,"bytes":72})");
    EXPECT_THAT(run("verify @x.sce").out, HasSubstr("x.sce: 4 payloads, 72 bytes, stored without a checksum"));
    EXPECT_EQ(at(run("verify --quick --json @x.sce").json(), "/files/0/unchecked"), "null");
    EXPECT_THAT(run("verify --quick @x.sce").out, Not(HasSubstr("checksum")));

    std::filesystem::create_directories(path("d/tsg"));
    write("d/scene.tsg", R"({"ObjectKey":"N","Properties":{}})");
    write("d/tsg/good", R"({"ObjectKey":"N","DataType":3,"Size":2,"Tag":0})"
                        "\nab");
    write("d/tsg/bad", "junk");
    EXPECT_THAT(run("verify @d").out, HasSubstr("d: 2 payloads, 83 bytes, stored without"));
}

TEST_F(VerifyTest, theCatalogueListsEveryCode)
{
    const std::string page = bytesOf(TAVO_DOCS_DIR "/findings.md");
    std::vector<std::string> onPage, inTable;
    const std::regex row("\n\\| `([a-z-]+)` \\| (note|warning|error) \\|");
    for (std::sregex_iterator found(page.begin(), page.end(), row), end; found != end; ++found)
    {
        onPage.push_back((*found)[1].str() + ' ' + (*found)[2].str());
    }
    for (const tavosce::FindingKind& kind : tavosce::findingKinds())
    {
        EXPECT_EQ(&tavosce::kindOf(kind.code), &kind);
        inTable.push_back(kind.name + std::string(" ") + nameOf(kind.severity));
    }
    EXPECT_EQ(onPage, inTable);
}

} // namespace
