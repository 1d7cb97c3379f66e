// Moving base64 blocks out of class-XML files: the documented cases, the log texts, and a
// randomised check that nothing is ever lost.
#include <filesystem>
#include <random>
#include <regex>
#include <set>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/Utf.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using Handle = CXMLClassReaderWriter;
using classxml::testing::ReadFile;
using classxml::testing::TempDir;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

// Remembers every entry instead of writing a file.
class RecordingLog : public CLoggingFile {
public:
    explicit RecordingLog(int level) : CLoggingFile(level) {}
    void LogInfo(int level, int messageLevel, const LoggingSourcePos& position,
                 const CBasicString<WideChar>& text) override {
        entries.push_back({"info " + std::to_string(level) + "/" + std::to_string(messageLevel),
                           classxml::platform::WideToNarrow(text), position});
    }
    void LogError(const CBasicString<WideChar>& text, const LoggingSourcePos& position) override {
        entries.push_back({"error", classxml::platform::WideToNarrow(text), position});
    }
    struct Entry {
        std::string kind;
        std::string text;
        LoggingSourcePos position;
    };
    std::vector<Entry> entries;
};

// Opens the logged delete and rename.
class FileSteps : public Handle {
public:
    using Handle::DeleteFileLogged;
    using Handle::RenameFileLogged;
};

std::set<std::string> Names(const fs::path& directory) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
        names.insert(entry.path().filename().string());
    return names;
}

const std::regex
    kSideFileName("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.base64");

class PreprocessTest : public ::testing::Test {
protected:
    bool Preprocess(const fs::path& file) {
        return Handle::PreprocessReading(WidePath(file), nullptr, log);
    }
    // The side files beside `file`, by their full paths.
    std::set<std::string> SideFiles() {
        std::set<std::string> sides;
        for (const std::string& name : Names(dir.Path()))
            if (std::regex_match(name, kSideFileName)) sides.insert((dir / name).string());
        return sides;
    }

    TempDir dir;
    boost::shared_ptr<RecordingLog> log = boost::make_shared<RecordingLog>(5);
};

TEST_F(PreprocessTest, WithoutTransportElementsNothingIsWritten) {
    const std::string xml = "<Root><fileContent>QUJD</fileContent><filetransport/></Root>";
    WriteFile(dir / "doc.xml", xml);
    EXPECT_TRUE(Preprocess(dir / "doc.xml"));
    EXPECT_EQ(ReadFile(dir / "doc.xml"), xml);
    EXPECT_EQ(Names(dir.Path()), std::set<std::string>{"doc.xml"});

    WriteFile(dir / "doc.xml", "<FileTransport name=\"a\"></FileTransport>"); // no fileContent
    EXPECT_TRUE(Preprocess(dir / "doc.xml"));
    EXPECT_EQ(Names(dir.Path()), std::set<std::string>{"doc.xml"});

    WriteFile(dir / "doc.xml", "<filetransport><fileContent>QUJD</fileContent></filetransport>");
    EXPECT_TRUE(Preprocess(dir / "doc.xml")); // the searches are case-sensitive
    EXPECT_EQ(Names(dir.Path()), std::set<std::string>{"doc.xml"});
    EXPECT_FALSE(Preprocess(dir / "missing.xml"));
}

TEST_F(PreprocessTest, OneElementIsMovedToASideFile) {
    WriteFile(dir / "doc.xml", "<R>\n <FileTransport n=\"1\"><fileContent enc=\"b64\">QUJD\nREVG"
                               "</fileContent> </FileTransport>\n</R>\n");
    EXPECT_TRUE(Preprocess(dir / "doc.xml"));
    const std::set<std::string> sides = SideFiles();
    ASSERT_EQ(sides.size(), 1u);
    const std::string side = *sides.begin();
    EXPECT_EQ(ReadFile(side), "QUJD\nREVG");
    EXPECT_EQ(ReadFile(dir / "doc.xml"), "<R>\n <FileTransport n=\"1\"><fileContent enc=\"b64\">" +
                                             side + "</fileContent> </FileTransport>\n</R>\n");
    EXPECT_EQ(Names(dir.Path()).size(), 2u); // the rewritten document took the input's name
    EXPECT_TRUE(log->entries.empty());
}

TEST_F(PreprocessTest, ThreeElementsGiveThreeSideFiles) {
    WriteFile(dir / "doc.xml", "a<FileTransport><fileContent>111</fileContent></FileTransport>b"
                               "<FileTransport><fileContent></fileContent></FileTransport>c"
                               "<FileTransport><fileContent>333</fileContent></FileTransport>d");
    EXPECT_TRUE(Preprocess(dir / "doc.xml"));
    const std::string rewritten = ReadFile(dir / "doc.xml");
    std::vector<std::string> contents;
    std::string rebuilt = rewritten;
    for (const std::string& side : SideFiles()) {
        const std::size_t at = rebuilt.find(side);
        ASSERT_NE(at, std::string::npos);
        rebuilt.replace(at, side.size(), ReadFile(side));
        contents.push_back(ReadFile(side));
    }
    EXPECT_EQ(contents.size(), 3u);
    EXPECT_EQ(rebuilt, "a<FileTransport><fileContent>111</fileContent></FileTransport>b"
                       "<FileTransport><fileContent></fileContent></FileTransport>c"
                       "<FileTransport><fileContent>333</fileContent></FileTransport>d");
}

// A program runs the extraction at every start: over its own output it changes nothing, and a
// side file's path is not taken for a block.
TEST_F(PreprocessTest, ASecondRunChangesNothing) {
    WriteFile(dir / "doc.xml", "a<FileTransport><fileContent>111</fileContent></FileTransport>b"
                               "<FileTransport><fileContent>222</fileContent></FileTransport>c");
    ASSERT_TRUE(Preprocess(dir / "doc.xml"));
    const std::string once = ReadFile(dir / "doc.xml");
    const std::set<std::string> files = Names(dir.Path());
    EXPECT_TRUE(Preprocess(dir / "doc.xml"));
    EXPECT_EQ(ReadFile(dir / "doc.xml"), once);
    EXPECT_EQ(Names(dir.Path()), files);
}

TEST_F(PreprocessTest, AnElementWithoutContentEndStopsTheScanButKeepsTheFirst) {
    const std::string second = "<FileTransport><fileContent>BROKEN</FileTransport>tail";
    WriteFile(dir / "doc.xml",
              "<FileTransport><fileContent>GOOD</fileContent></FileTransport>" + second);
    EXPECT_FALSE(Preprocess(dir / "doc.xml"));
    const std::set<std::string> sides = SideFiles();
    ASSERT_EQ(sides.size(), 1u);
    EXPECT_EQ(ReadFile(*sides.begin()), "GOOD");
    EXPECT_EQ(ReadFile(dir / "doc.xml"), "<FileTransport><fileContent>" + *sides.begin() +
                                             "</fileContent></FileTransport>" + second);
}

// A file that ends inside a "<fileContent" start tag was cut short: false. Elements before it
// stay extracted, and the unfinished tag is copied through.
TEST_F(PreprocessTest, AStartTagCutOffByTheEndOfTheFileFails) {
    const std::string cut = "<Root><FileTransport><fileContent";
    WriteFile(dir / "doc.xml", cut);
    EXPECT_FALSE(Preprocess(dir / "doc.xml"));
    EXPECT_EQ(ReadFile(dir / "doc.xml"), cut);
    EXPECT_EQ(Names(dir.Path()), std::set<std::string>{"doc.xml"});

    WriteFile(dir / "doc.xml",
              "<FileTransport><fileContent>GOOD</fileContent></FileTransport>" + cut);
    EXPECT_FALSE(Preprocess(dir / "doc.xml"));
    const std::set<std::string> sides = SideFiles();
    ASSERT_EQ(sides.size(), 1u);
    EXPECT_EQ(ReadFile(dir / "doc.xml"), "<FileTransport><fileContent>" + *sides.begin() +
                                             "</fileContent></FileTransport>" + cut);
}

// Side files are as private as their document, and a link is followed to the file it names,
// beside which the side files go; the link stays a link.
TEST_F(PreprocessTest, SideFilesAreAsPrivateAsTheInputWhichALinkNames) {
    fs::create_directories(dir / "real");
    const fs::path file = dir / "real" / "doc.xml";
    WriteFile(file, "<FileTransport><fileContent>QUJD</fileContent></FileTransport>");
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    std::error_code noLinks;
    fs::create_symlink(file, dir / "link.xml", noLinks);
    const fs::path given = noLinks ? file : dir / "link.xml";
    ASSERT_TRUE(Preprocess(given));
    EXPECT_EQ(fs::is_symlink(given), !noLinks);
    std::size_t sides = 0;
    for (const auto& entry : fs::directory_iterator(dir / "real")) {
        EXPECT_EQ(fs::status(entry).permissions(), fs::status(file).permissions()) << entry.path();
        sides += entry.path().extension() == ".base64";
    }
    EXPECT_EQ(sides, 1u);
}

TEST_F(PreprocessTest, AnElementWithoutTransportEndLeavesTheInputAlone) {
    const std::string xml = "<FileTransport><fileContent>DATA</fileContent>no end tag";
    WriteFile(dir / "doc.xml", xml);
    EXPECT_FALSE(Preprocess(dir / "doc.xml"));
    EXPECT_EQ(ReadFile(dir / "doc.xml"), xml); // nothing swapped in, nothing lost
}

// Documents the library's users write, each of which the scan once turned into one that could
// not be read: only the text of a real, non-empty fileContent element with no markup inside is
// moved, and the path put in its place is escaped.
TEST_F(PreprocessTest, OnlyBase64BlocksAreMovedAndTheResultStaysReadable) {
    fs::create_directories(dir / "R&D");
    const fs::path file = dir / "R&D" / "doc.xml";
    const std::string attribute = "<r><FileTransport><fileContent name=\"a>b\">QUJD</fileContent>"
                                  "</FileTransport></r>";
    const std::string type = "<r><FileTransport><fileContentType>png</fileContentType>"
                             "<fileContent>QUJD</fileContent></FileTransport></r>";
    const std::string kept[] = {
        "<r><FileTransport><fileContent/></FileTransport><next>text</next></r>",
        "<r><FileTransport><fileContent><![CDATA[</fileContent>]]></fileContent></FileTransport></"
        "r>",
    };
    for (const std::string& xml : {attribute, type}) {
        WriteFile(file, xml);
        ASSERT_TRUE(Handle::PreprocessReading(WidePath(file), nullptr, log));
        Handle reader(log, Handle::XMLIOTYPE_XERCES, false);
        ASSERT_TRUE(reader.ReadFromString(CBasicStringView<char>(ReadFile(file))))
            << ReadFile(file);
        Handle content = reader.GetFirstSubElement().GetFirstSubElement(WIDE("fileContent"));
        const std::string side = classxml::platform::WideToNarrow(content.GetContent());
        EXPECT_EQ(ReadFile(side), "QUJD");
        EXPECT_NE(ReadFile(file).find("R&amp;D"), std::string::npos);
        reader.ReleaseDocument();
    }
    for (const std::string& xml : kept) {
        WriteFile(file, xml);
        EXPECT_TRUE(Handle::PreprocessReading(WidePath(file), nullptr, log));
        EXPECT_EQ(ReadFile(file), xml);
    }
}

TEST_F(PreprocessTest, APathWithoutDirectoryWorksInTheCurrentDirectory) {
    const fs::path previous = fs::current_path();
    fs::current_path(dir.Path());
    WriteFile("doc.xml", "<FileTransport><fileContent>QQ==</fileContent></FileTransport>");
    const bool result = Handle::PreprocessReading(WIDE("doc.xml"), nullptr, nullptr);
    fs::current_path(previous);
    EXPECT_TRUE(result);
    const std::set<std::string> sides = SideFiles();
    ASSERT_EQ(sides.size(), 1u);
    const std::string name = fs::path(*sides.begin()).filename().string();
    EXPECT_EQ(ReadFile(dir / "doc.xml"),
              "<FileTransport><fileContent>" + name + "</fileContent></FileTransport>");
}

// Files with zero to four transport elements, blocks of random sizes (also empty, also with
// line breaks) and text around them: the rewritten file with every side-file path replaced by
// that file's content is the original, and each side file holds exactly its block.
TEST_F(PreprocessTest, NothingIsLostWhateverTheLayout) {
    std::mt19937 random(2024);
    const std::string base64 =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=\n";
    const auto text = [&](std::size_t max) {
        std::string s(random() % (max + 1), 'x');
        for (char& c : s)
            c = " <>/=\"abc\n\xC3\xA9"[random() % 12];
        return s;
    };
    for (int round = 0; round < 60; ++round) {
        const fs::path file = dir / ("doc" + std::to_string(round) + ".xml");
        std::string original = text(40);
        std::vector<std::string> blocks;
        const int elements = static_cast<int>(random() % 5);
        for (int i = 0; i < elements; ++i) {
            std::string block(random() % 3 == 0 ? 0 : random() % 5000, 'A');
            for (char& c : block)
                c = base64[random() % base64.size()];
            blocks.push_back(block);
            original += "<FileTransport id=\"" + std::to_string(i) + "\">" + text(20) +
                        "<fileContent a=\"b\">" + block + "</fileContent>" + text(20) +
                        "</FileTransport>" + text(40);
        }
        WriteFile(file, original);
        const std::set<std::string> before = SideFiles();
        ASSERT_TRUE(Preprocess(file)) << round;
        std::string rebuilt = ReadFile(file);
        std::vector<std::string> found;
        for (const std::string& side : SideFiles()) {
            if (before.count(side)) continue;
            const std::size_t at = rebuilt.find(side);
            ASSERT_NE(at, std::string::npos);
            found.push_back(ReadFile(side));
            rebuilt.replace(at, side.size(), found.back());
        }
        EXPECT_EQ(rebuilt, original) << round;
        std::sort(found.begin(), found.end());
        std::sort(blocks.begin(), blocks.end());
        EXPECT_EQ(found, blocks) << round;
    }
}

TEST_F(PreprocessTest, FailedDeletesAreLoggedAtTheirLevel) {
    const CBasicString<WideChar> missing = WidePath(dir / "missing.xml");
    const std::string missingText = (dir / "missing.xml").string();
    const LoggingSourcePos position = CLASSXML_SOURCE_POS("Test");
    EXPECT_EQ(FileSteps::DeleteFileLogged(missing, log, position), -1);
    ASSERT_EQ(log->entries.size(), 1u);
    EXPECT_EQ(log->entries[0].kind, "info 5/3");
    EXPECT_EQ(log->entries[0].text,
              "Can't delete file '" + missingText + "' because it doesn't exist or path is wrong");
    EXPECT_EQ(log->entries[0].position.sourceFile, "Test");

    const auto quiet = boost::make_shared<RecordingLog>(4); // below 5: no entry for a missing file
    EXPECT_EQ(FileSteps::DeleteFileLogged(missing, quiet, position), -1);
    EXPECT_TRUE(quiet->entries.empty());
    EXPECT_EQ(FileSteps::DeleteFileLogged(missing, nullptr, position), -1);
    WriteFile(dir / "present.txt", "x");
    EXPECT_EQ(FileSteps::DeleteFileLogged(WidePath(dir / "present.txt"), log, position), 0);
}

TEST_F(PreprocessTest, FailedRenamesAreLoggedAsErrors) {
    const LoggingSourcePos position = CLASSXML_SOURCE_POS("Test");
    const auto from = dir / "missing.xml";
    EXPECT_EQ(FileSteps::RenameFileLogged(WidePath(from), WidePath(dir / "b.xml"), log, position),
              -1);
    fs::create_directories(dir / "folder");
    const auto inside = dir / "folder" / "sub"; // a folder cannot move into itself: errno 22
    EXPECT_EQ(
        FileSteps::RenameFileLogged(WidePath(dir / "folder"), WidePath(inside), log, position), -1);
    ASSERT_EQ(log->entries.size(), 2u);
    EXPECT_EQ(log->entries[0].kind, "error");
    EXPECT_EQ(log->entries[0].text,
              "Can't rename file: " + from.string() + " because it doesn't exist or path is wrong");
    EXPECT_EQ(log->entries[1].text, "Can't rename file: " + (dir / "folder").string() +
                                        " because of wrong characters inside name or path. "
                                        "Check also the new filename: " +
                                        inside.string());
}

TEST(LoggingSourcePos, NamesFileLineBuildTimeAndSignature) {
    const int line = __LINE__ + 1;
    const LoggingSourcePos position = CLASSXML_SOURCE_POS("XMLClassReaderWriter");
    EXPECT_EQ(position.sourceFile, "XMLClassReaderWriter");
    EXPECT_EQ(position.line, line);
    EXPECT_EQ(position.timeStamp.size(), 24u); // "Sun Nov 22 09:30:05 2026"
    EXPECT_NE(position.signature.find("TestBody"), std::string::npos);
}

} // namespace
