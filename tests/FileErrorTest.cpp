// The file error record and how the file layer raises it.
#include <gtest/gtest.h>

#include "classxml/basicio/VFile.h"
#include "classxml/platform/Utf.h"
#include "support/TempDir.h"

namespace {

using classxml::platform::WideToNarrow;
using classxml::testing::TempDir;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

const LoggingSourcePos kHere{"FileErrorTest", 1, "", ""};

// The two mappings that look wrong and are kept on purpose, and the fallbacks.
TEST(FileError, NumbersMapToCodesAndFixedTexts) {
    EXPECT_EQ(CBasicFileException::ErrorCodeFor(17), 1); // "already exists"...
    EXPECT_STREQ(CBasicFileException::TextFor(1), "the file does not exist."); // ...reads so
    EXPECT_STREQ(CBasicFileException::TextFor(4), "wasn't abled to find the File.");
    EXPECT_EQ(CBasicFileException::ErrorCodeFor(5), 8);
    EXPECT_STREQ(CBasicFileException::TextFor(8), "undefined Error.");
    EXPECT_STREQ(CBasicFileException::TextFor(9), "undefined default Error.");
}

TEST(FileError, RecordIsThrownOrFilledInPlace) {
    const CBasicString<WideChar> path = WIDE("/some/p\u00E4th.txt");
    try {
        RaiseFileError(path, 28, WIDE("Write"), kHere);
        FAIL() << "nothing thrown";
    } catch (const CBasicFileException& error) {
        EXPECT_EQ(error.GetErrorCode(), 6);
        EXPECT_EQ(error.GetFilePath(), path);
        EXPECT_EQ(error.GetOperationName(), WIDE("Write"));
        EXPECT_EQ(error.GetSourcePos().sourceFile, "FileErrorTest");
        // The message is in the process code page: UTF-8 on POSIX, ANSI on Windows.
        EXPECT_EQ(std::string(error.what()),
                  "File exception for: " + WideToNarrow(path) + " error was: not enough space.");
    }
    CBasicFileException destination;
    EXPECT_EQ(destination.GetErrorCode(), -1);
    EXPECT_NO_THROW(RaiseFileError(path, 13, WIDE("Open"), kHere, &destination));
    EXPECT_EQ(destination.GetErrorCode(), 0);
    EXPECT_EQ(destination.GetOperationName(), WIDE("Open"));
}

TEST(FileError, MissingFileForReadingIsCodeFourWithItsMessage) {
    TempDir dir;
    const auto path = WidePath(dir / "missing.txt");
    CVFile file;
    try {
        file.Open(path, 0x0804);
        FAIL() << "nothing thrown";
    } catch (const CBasicFileException& error) {
        EXPECT_EQ(error.GetErrorCode(), 4);
        EXPECT_EQ(error.GetOperationName(), WIDE("Open"));
        EXPECT_EQ(std::string(error.what()), "File exception for: " + WideToNarrow(path) +
                                                 " error was: wasn't abled to find the File.");
    }
    CBasicFileException record;
    EXPECT_EQ(file.Open(path, 0x0804, &record), 0);
    EXPECT_EQ(record.GetErrorCode(), 4);
    EXPECT_EQ(record.GetFilePath(), path);
    EXPECT_FALSE(file.IsOpen());
}

// A folder opens on Linux but fails at the first read, the check for a byte-order mark; with a
// record given, that failure is stored too, never thrown.
TEST(FileError, AnOpenWithARecordNeverThrows) {
    TempDir dir;
    CVFile file;
    CBasicFileException record;
    int result = -1;
    EXPECT_NO_THROW(result = file.Open(WidePath(dir.Path()), 0x0804, &record));
    EXPECT_EQ(result, 0);
    EXPECT_NE(record.GetErrorCode(), -1);
    EXPECT_FALSE(file.IsOpen());
}

TEST(FileError, CreatingAnExistingFileAsNewIsCodeOne) {
    TempDir dir;
    WriteFile(dir / "exists.txt", "x");
    CVFile file;
    CBasicFileException record;
    EXPECT_EQ(file.Open(WidePath(dir / "exists.txt"), 0x4811, &record), 0);
    EXPECT_EQ(record.GetErrorCode(), 1);
    EXPECT_STREQ(CBasicFileException::TextFor(record.GetErrorCode()), "the file does not exist.");
}

TEST(FileError, OperationsWithoutAnOpenFileAreCodeFiveWithTheirNames) {
    CVFile file;
    const boost::shared_ptr<LocalizationManager> localization;
    const auto expectHandleError = [](auto operation, const WideChar* name) {
        try {
            operation();
            ADD_FAILURE() << "nothing thrown";
        } catch (const CBasicFileException& error) {
            EXPECT_EQ(error.GetErrorCode(), 5);
            EXPECT_EQ(error.GetOperationName(), name);
        }
    };
    expectHandleError(
        [&] {
            file.FindStringPositionInFile(CBasicStringView<WideChar>(WIDE("x")), localization, true,
                                          FILE_CHAR_POS(0));
        },
        WIDE("FindStringPositionInFile"));
    expectHandleError([&] { file.GetSizeInCharacters(); }, WIDE("GetSizeInCharacters"));
    CBasicString<WideChar> text;
    expectHandleError([&] { file.GetStringFromFile(text, FILE_CHAR_POS(0), FILE_CHAR_POS(1)); },
                      WIDE("GetStringFromFile"));
    CVFile other;
    expectHandleError([&] { file.AppendFileContent(other, FILE_CHAR_POS(0), FILE_CHAR_POS(1)); },
                      WIDE("AppendFileContent"));
    expectHandleError([&] { file.Write(CBasicStringView<char>("x")); }, WIDE("Write"));
    EXPECT_NO_THROW(file.Close());
}

} // namespace
