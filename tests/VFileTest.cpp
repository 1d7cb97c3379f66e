// Reading, writing, copying and searching text files through CVFile.
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "classxml/basicio/VFile.h"
#include "classxml/platform/LowerCase.h"
#include "classxml/platform/Utf.h"
#include "support/TempDir.h"

namespace {

using classxml::testing::ReadFile;
using classxml::testing::TempDir;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;
using Pos = FILE_CHAR_POS;
using Wide = CBasicString<WideChar>;

constexpr unsigned kRead = 0x0804;  // an existing file, binary
constexpr unsigned kWrite = 0x0811; // created or truncated, write only, binary
const boost::shared_ptr<LocalizationManager> kNoLocalization;

std::string Utf16le(const Wide& text, bool mark) {
    std::string bytes = mark ? "\xFF\xFE" : "";
    for (const WideChar unit : text) {
        bytes.push_back(static_cast<char>(static_cast<std::uint16_t>(unit) & 0xFF));
        bytes.push_back(static_cast<char>(static_cast<std::uint16_t>(unit) >> 8));
    }
    return bytes;
}

class VFileTest : public ::testing::Test {
protected:
    CVFile& OpenWith(const std::string& name, const std::string& bytes,
                     BasicStringDef::enum_codepage codePage = BasicStringDef::codepage_default) {
        WriteFile(dir / name, bytes);
        file.Open(WidePath(dir / name), kRead, nullptr, false, codePage);
        return file;
    }
    std::int64_t Find(const CBasicString<WideChar>& text, std::int64_t start = 0,
                      bool caseSensitive = true) {
        return file
            .FindStringPositionInFile(CBasicStringView<WideChar>(text), kNoLocalization,
                                      caseSensitive, Pos(start))
            .get();
    }
    CBasicString<WideChar> Text(std::int64_t from, std::int64_t to) {
        CBasicString<WideChar> text;
        file.GetStringFromFile(text, Pos(from), Pos(to));
        return text;
    }

    TempDir dir;
    CVFile file;
};

TEST_F(VFileTest, WritingCreatesOrTruncates) {
    WriteFile(dir / "f.txt", "old content that is long");
    ASSERT_NE(
        file.Open(WidePath(dir / "f.txt"), kWrite, nullptr, false, BasicStringDef::codepage_utf8),
        0);
    EXPECT_EQ(file.GetSizeInCharacters().get(), 0u);
    file.Write(CBasicStringView<WideChar>(WIDE("caf\u00E9 ")));
    file.Write(CBasicStringView<char>("x"));
    file.Write("raw", 3);
    EXPECT_EQ(file.GetSizeInCharacters().get(), 10u);
    file.Close();
    EXPECT_EQ(ReadFile(dir / "f.txt"), "caf\xC3\xA9 xraw");
    EXPECT_FALSE(file.IsOpen());
}

TEST_F(VFileTest, SearchesFindMatchesAcrossBufferBordersAtTheirTruePositions) {
    std::mt19937 random(7);
    std::string text(20000, 'a');
    for (char& c : text)
        c = "ab<F"[random() % 4];
    const std::string needle = "<FiLe>";
    // Each straddles a 4 KiB border; the windows themselves start wherever the last one ended.
    for (const std::size_t at : {4091u, 8189u, 12285u, 16380u})
        text.replace(at, 6, needle);
    OpenWith("search.txt", text);
    file.SetMaxBufferSize(4096);
    const CBasicString<WideChar> wideNeedle = WIDE("<FiLe>");
    std::int64_t start = 0;
    for (auto expected = std::search(text.begin(), text.end(), needle.begin(), needle.end());
         expected != text.end();
         expected = std::search(expected + 1, text.end(), needle.begin(), needle.end())) {
        const std::int64_t found = Find(wideNeedle, start);
        ASSERT_EQ(found, expected - text.begin());
        start = found + 1;
    }
    EXPECT_EQ(Find(wideNeedle, start), -1);
    EXPECT_EQ(Find(WIDE("<file>")), -1);
    EXPECT_EQ(Find(WIDE("<file>"), 0, false), 4091);
    EXPECT_EQ(Find(WIDE("<FILE>"), 5000, false), 8189);
    EXPECT_EQ(file.FindStringPositionInFileReverse(CBasicStringView<char>("<FiLe>"),
                                                   kNoLocalization, true, Pos(12284))
                  .get(),
              8189);
    EXPECT_EQ(file.FindStringPositionInFileReverse(CBasicStringView<char>("<FiLe>"),
                                                   kNoLocalization, true, Pos(-1))
                  .get(),
              16380);
    EXPECT_EQ(Find(WIDE("x"), 20001), -1);
    EXPECT_THROW(Find(WIDE("x"), -1), CBasicFileException);
}

// Every match in a UTF-16 file full of near misses, in both case modes, against std::search.
TEST_F(VFileTest, WideSearchesAgreeWithStdSearch) {
    std::mt19937 random(11);
    Wide text(30000, WideChar('a'));
    const Wide alphabet = WIDE("<<<\u00C9\u00E9tT");
    for (WideChar& unit : text)
        unit = alphabet[random() % alphabet.size()];
    OpenWith("wide-search.txt", Utf16le(text, true));
    file.SetMaxBufferSize(4096);
    for (const bool caseSensitive : {true, false}) {
        const Wide needle = WIDE("<\u00C9t");
        Wide haystack = text, wanted = needle;
        if (!caseSensitive)
            for (Wide* s : {&haystack, &wanted})
                for (WideChar& unit : *s)
                    unit = classxml::platform::ToLower(unit);
        std::int64_t start = 0;
        for (auto expected =
                 std::search(haystack.begin(), haystack.end(), wanted.begin(), wanted.end());
             expected != haystack.end();
             expected = std::search(expected + 1, haystack.end(), wanted.begin(), wanted.end())) {
            const std::int64_t found = Find(needle, start, caseSensitive);
            ASSERT_EQ(found, (expected - haystack.begin()) + 1); // + 1 for the mark
            start = found + 1;
        }
        EXPECT_EQ(Find(needle, start, caseSensitive), -1);
    }
}

// Narrow files fold every letter too, in their own encoding; in UTF-8 a lower case can be
// shorter than its letter (the Kelvin sign's three bytes become "k"), and places are the file's.
TEST_F(VFileTest, NarrowSearchesWithoutCaseFoldEveryLetter) {
    const std::string text = "x \xE2\x80\xB9T\xC3\x84G \xC3\x89t\xC3\xA9> \xE2\x84\xAA"
                             "elvin <TÄG";
    std::string padded = std::string(5000, '=') + text; // the last match lies past a border
    OpenWith("utf8.txt", padded, BasicStringDef::codepage_utf8); // the default is ANSI on Windows
    file.SetMaxBufferSize(4096);
    const auto at = [&](const char* bytes) { return std::int64_t(padded.find(bytes)); };
    EXPECT_EQ(Find(WIDE("\u2039t\u00E4g"), 0, false), at("\xE2\x80\xB9T"));
    EXPECT_EQ(Find(WIDE("\u00E9T\u00C9>"), 0, false), at("\xC3\x89t"));
    EXPECT_EQ(Find(WIDE("kELVIN"), 0, false), at("\xE2\x84\xAA"));
    EXPECT_EQ(Find(WIDE("<t\u00E4g"), 0, false), at("<TÄG"));
    EXPECT_EQ(Find(WIDE("\u00E9T\u00C9>")), -1);
    EXPECT_EQ(file.FindStringPositionInFileReverse(WIDE("\u00C4g"), kNoLocalization, false, Pos(-1))
                  .get(),
              std::int64_t(padded.rfind("ÄG")));
    EXPECT_TRUE(
        file.IsStringAtPosition(Pos(at("\xE2\x84\xAA")), false, WIDE("K"), kNoLocalization));

    // With the default buffer, a match and a character in it across the first 1 MiB border.
    constexpr std::size_t kMiB = std::size_t(1) << 20;
    std::string big(kMiB + 100, '=');
    big.replace(kMiB - 3, 5, "<T\xC3\x84G"); // the two bytes of the letter straddle it
    OpenWith("big.txt", big, BasicStringDef::codepage_utf8);
    EXPECT_EQ(Find(WIDE("<t\u00E4g"), 0, false), std::int64_t(kMiB - 3));
    EXPECT_EQ(Find(WIDE("\u00E4G="), 0, false), std::int64_t(kMiB - 1));
    EXPECT_EQ(file.FindStringPositionInFileReverse(WIDE("t\u00E4"), kNoLocalization, false, Pos(-1))
                  .get(),
              std::int64_t(kMiB - 2));

    OpenWith("latin1.txt", "a \xC4\xC9 b");
    file.Open(WidePath(dir / "latin1.txt"), kRead, nullptr, false, BasicStringDef::codepage_latin1);
    EXPECT_EQ(Find(WIDE("\u00E4\u00E9"), 0, false), 2);
}

TEST_F(VFileTest, Utf16FilesAreRecognisedByTheirMarkOnly) {
    const Wide text = WIDE("<a>\u00C9t\u00E9 \U0001F600</a>");
    OpenWith("marked.txt", Utf16le(text, true));
    EXPECT_TRUE(file.IsWide());
    EXPECT_EQ(file.GetByteOrder(), BasicFile::byteorder_little_endian);
    EXPECT_EQ(file.GetSizeInCharacters().get(), text.size() + 1);
    EXPECT_EQ(Text(0, 100), text); // from 0 means after the mark
    EXPECT_EQ(Find(WIDE("\u00E9t\u00E9"), 0, false), 4);
    EXPECT_EQ(Find(WIDE("</a>")), 10); // positions count the mark

    std::string bigEndian = "\xFE\xFF";
    for (const WideChar unit : text) {
        bigEndian.push_back(static_cast<char>(static_cast<std::uint16_t>(unit) >> 8));
        bigEndian.push_back(static_cast<char>(static_cast<std::uint16_t>(unit) & 0xFF));
    }
    OpenWith("big.txt", bigEndian);
    EXPECT_EQ(file.GetByteOrder(), BasicFile::byteorder_big_endian);
    EXPECT_EQ(Text(0, 100), text);
    EXPECT_EQ(Find(WIDE("</a>")), 10);

    OpenWith("unmarked.txt", Utf16le(WIDE("ab"), false));
    EXPECT_FALSE(file.IsWide()); // without a mark it is narrow text
    EXPECT_EQ(file.GetSizeInCharacters().get(), 4u);
}

TEST_F(VFileTest, WideFilesAreCreatedWithAMark) {
    ASSERT_NE(file.Open(WidePath(dir / "wide.txt"), kWrite, nullptr, true), 0);
    EXPECT_TRUE(file.IsWide());
    file.Write(CBasicStringView<char8_t>(u8"h\u00E9"));
    file.Close();
    EXPECT_EQ(ReadFile(dir / "wide.txt"), Utf16le(WIDE("h\u00E9"), true));
}

TEST_F(VFileTest, AppendingConvertsBetweenNarrowAndWideFiles) {
    // Large enough to cross copy blocks, with multi-byte characters on every border.
    Wide text;
    while (text.size() < 700000)
        text += WIDE("\u00E9\u20AC\U0001F600x");
    CBasicString<char8_t> utf8 = classxml::platform::Utf16ToUtf8(text);
    WriteFile(dir / "narrow.txt", std::string(utf8.begin(), utf8.end()));
    CVFile narrow;
    narrow.Open(WidePath(dir / "narrow.txt"), kRead, nullptr, false, BasicStringDef::codepage_utf8);
    const auto narrowSize = std::int64_t(narrow.GetSizeInCharacters().get());

    CVFile wide;
    wide.Open(WidePath(dir / "wide.txt"), kWrite, nullptr, true);
    EXPECT_EQ(wide.AppendFileContent(narrow, Pos(0), Pos(narrowSize)).get(),
              std::int64_t(text.size()) + 1);
    wide.Close();
    EXPECT_TRUE(ReadFile(dir / "wide.txt") == Utf16le(text, true)); // too long to print

    OpenWith("wide.txt", ReadFile(dir / "wide.txt"));
    CVFile back;
    back.Open(WidePath(dir / "back.txt"), kWrite, nullptr, false, BasicStringDef::codepage_utf8);
    back.AppendFileContent(file, Pos(1), Pos(std::int64_t(text.size()) + 1));
    back.AppendFileContent(file, Pos(3), Pos(3)); // an empty range appends nothing
    back.Close();
    EXPECT_TRUE(ReadFile(dir / "back.txt") == std::string(utf8.begin(), utf8.end()));
}

TEST_F(VFileTest, CopyingWithinOneEncodingKeepsTheBytes) {
    std::string bytes(3 << 20, '\0');
    std::mt19937 random(3);
    for (char& c : bytes)
        c = static_cast<char>(random());
    bytes[0] = 'x'; // no mark
    OpenWith("binary.bin", bytes);
    CVFile copy;
    copy.Open(WidePath(dir / "copy.bin"), kWrite);
    copy.Write(CBasicStringView<char>("head"));
    EXPECT_EQ(copy.AppendFileContent(file, Pos(10), Pos(1 << 30)).get(),
              std::int64_t(bytes.size()) - 10 + 4);
    EXPECT_EQ(copy.AppendFileBuffer(file, 0, 5), 5u);
    EXPECT_THROW(copy.AppendFileContent(file, Pos(5), Pos(4)), CBasicFileException);
    copy.Close();
    EXPECT_TRUE(ReadFile(dir / "copy.bin") == "head" + bytes.substr(10) + bytes.substr(0, 5));
}

TEST_F(VFileTest, AppendingWritesAfterWhatTheTargetHolds) {
    WriteFile(dir / "source.txt", "xyz");
    CVFile source;
    source.Open(WidePath(dir / "source.txt"), kRead);
    for (const unsigned flags : {0x0812u, 0x0808u}) { // kept content, write or read and write
        WriteFile(dir / "target.txt", "ABC");
        file.Open(WidePath(dir / "target.txt"), flags);
        EXPECT_EQ(file.AppendFileContent(source, Pos(0), Pos(3)).get(), 6);
        file.Close();
        EXPECT_EQ(ReadFile(dir / "target.txt"), "ABCxyz") << flags;
        WriteFile(dir / "target.txt", "ABC"); // bytes too, wherever the position stands
        file.Open(WidePath(dir / "target.txt"), flags);
        EXPECT_EQ(file.AppendFileBuffer(source, 0, 3), 3u);
        file.Close();
        EXPECT_EQ(ReadFile(dir / "target.txt"), "ABCxyz") << flags;
    }
    // Copying up to a character: one pass, the character not included.
    WriteFile(dir / "target.txt", "ABC");
    file.Open(WidePath(dir / "target.txt"), 0x0812u);
    EXPECT_EQ(file.AppendFileContentUpTo(source, Pos(0), 'z').get(), 2);
    EXPECT_EQ(file.AppendFileContentUpTo(source, Pos(1), '<').get(), -1);
    file.Close();
    EXPECT_EQ(ReadFile(dir / "target.txt"), "ABCxyyz");
    // Across block borders, with characters of several bytes on them.
    std::string text;
    while (text.size() < 3'000'000)
        text += "\xC3\xA9t\xE2\x82\xAC\xF0\x9D\x84\x9E";
    WriteFile(dir / "source.txt", text + "<" + text);
    source.Open(WidePath(dir / "source.txt"), kRead);
    file.Open(WidePath(dir / "target.txt"), kWrite);
    EXPECT_EQ(file.AppendFileContentUpTo(source, Pos(0), '<').get(), std::int64_t(text.size()));
    file.Close();
    EXPECT_TRUE(ReadFile(dir / "target.txt") == text);
}

TEST_F(VFileTest, BlanksAreExactlySpaceReturnLineFeedAndTab) {
    OpenWith("blanks.txt", " \r\n\t\fx \t");
    EXPECT_EQ(file.SkipBlankPositions(Pos(0), false).get(), 4); // form feed is not blank
    EXPECT_EQ(file.SkipBlankPositions(Pos(6), false).get(), 8); // the end
    EXPECT_EQ(file.SkipBlankPositions(Pos(7), true).get(), 5);
    EXPECT_EQ(file.SkipBlankPositions(Pos(3), true).get(), -1);
}

TEST_F(VFileTest, TextsAtBeforeAndAfterPositions) {
    OpenWith("tags.txt", "<a> <b >\n< c>");
    EXPECT_TRUE(file.IsStringAtPosition(Pos(4), true, WIDE("<b"), kNoLocalization));
    EXPECT_TRUE(file.IsStringAtPosition(Pos(4), false, WIDE("<B"), kNoLocalization));
    EXPECT_FALSE(file.IsStringAtPosition(Pos(4), true, WIDE("<B"), kNoLocalization));
    EXPECT_TRUE(file.IsStringBeforePosition(Pos(3), WIDE("<a>"), kNoLocalization));
    EXPECT_FALSE(file.IsStringBeforePosition(Pos(2), WIDE("<a>"), kNoLocalization));
    EXPECT_TRUE(file.IsStringAfterPosition(Pos(3), WIDE("<b"), kNoLocalization));
    EXPECT_FALSE(file.IsStringAtPosition(Pos(12), true, WIDE(">>"), kNoLocalization));

    FILE_CHAR_POS end(0);
    EXPECT_EQ(file.FindStringPositionInFileIgnoreInvisibles(WIDE("b>"), end, kNoLocalization, true,
                                                            Pos(0))
                  .get(),
              5);
    EXPECT_EQ(end.get(), 8);
    EXPECT_EQ(file.FindStringPositionInFileIgnoreInvisibles(WIDE("<c>"), end, kNoLocalization, true,
                                                            Pos(0))
                  .get(),
              9);
    EXPECT_EQ(end.get(), 13);
    EXPECT_EQ(file.FindStringPositionInFileIgnoreInvisiblesReverse(WIDE("< a"), end,
                                                                   kNoLocalization, true, Pos(-1))
                  .get(),
              0);
}

TEST_F(VFileTest, StringsInEachForm) {
    WriteFile(dir / "text.txt", "caf\xC3\xA9!");
    file.Open(WidePath(dir / "text.txt"), kRead, nullptr, false, BasicStringDef::codepage_utf8);
    std::string narrow;
    CBasicString<char8_t> utf8;
    file.GetStringFromFile(narrow, Pos(0), Pos(5));
    file.GetStringFromFile(utf8, Pos(2), Pos(100));
    EXPECT_EQ(narrow, classxml::platform::WideToNarrow(WIDE("caf\u00E9"))); // the process code page
    EXPECT_TRUE(utf8 == u8"f\u00E9!"); // GoogleTest cannot print char8_t strings
    EXPECT_EQ(Text(0, 6), WIDE("caf\u00E9!"));
    EXPECT_TRUE(Text(6, 10).empty());
    EXPECT_EQ(file.AlignToCharacter(Pos(4)).get(), 3); // inside the two bytes of é
    EXPECT_EQ(file.AlignToCharacter(Pos(5)).get(), 5);

    file.Open(WidePath(dir / "text.txt"), kRead, nullptr, false, BasicStringDef::codepage_latin1);
    EXPECT_EQ(Text(0, 6), WIDE("caf\u00C3\u00A9!"));
}

TEST_F(VFileTest, PositionsAndSizes) {
    OpenWith("sizes.txt", Utf16le(WIDE("abcd"), true));
    EXPECT_EQ(file.GetLengthInByte().get(), 10u);
    EXPECT_EQ(file.SeekChars(Pos(2), BasicFile::seek_begin).get(), 2);
    EXPECT_EQ(file.Tell().get(), 4);
    char bytes[2] = {};
    EXPECT_EQ(file.Read(bytes, 2), 2u);
    EXPECT_EQ(bytes[0], 'b');
    EXPECT_EQ(file.SeekToEnd().get(), 10);
    EXPECT_EQ(file.GetFileName(), CBasicStringView<WideChar>(WIDE("sizes.txt")));
    EXPECT_THROW(file.Seek(FILE_POS(-11), BasicFile::seek_end), CBasicFileException);
}

} // namespace

namespace {

// Reads and writes at random places, with a buffer of 64 bytes so that every edge of it is met
// thousands of times, against a string holding what the file should.
TEST(BasicFileTest, RandomReadsAndWritesAgreeWithTheBytesWritten) {
    const classxml::testing::TempDir dir;
    CBasicFile<char> file;
    classxml::platform::OpenOptions options;
    options.access = classxml::platform::OpenOptions::Access::ReadWrite;
    options.create = options.truncate = true;
    ASSERT_EQ(file.Open(classxml::testing::WidePath(dir / "random.bin"), options,
                        BasicStringDef::codepage_utf8, BasicFile::byteorder_unknown),
              0);
    file.SetMaxBufferSize(64);
    std::string model;
    std::mt19937 random(5);
    for (int step = 0; step < 20'000; ++step) {
        const std::size_t at = random() % (model.size() + 1), count = random() % 100;
        if (random() % 2) {
            std::string bytes(count, '\0');
            for (char& byte : bytes)
                byte = char('a' + random() % 26);
            file.Seek(std::int64_t(at), BasicFile::seek_begin);
            file.Write(bytes.data(), count);
            model.resize(std::max(model.size(), at + count));
            model.replace(at, count, bytes);
        } else {
            std::string read(count, '\0');
            read.resize(file.ReadAt(std::int64_t(at), read.data(), count));
            ASSERT_EQ(read, model.substr(at, count)) << "step " << step;
        }
    }
    file.Close();
    EXPECT_EQ(classxml::testing::ReadFile(dir / "random.bin"), model);
}

} // namespace
