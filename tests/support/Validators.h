#pragma once

// Verdicts of the validators a test holds a document to: the handle's validating read, and
// xmllint, an independent one, where it is installed (on Linux).
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "support/TempDir.h"

namespace classxml::testing {

// "R" when ReadFromFile takes the file (valid against the DTD it names), "-" when not.
inline std::string ReadVerdict(const std::filesystem::path& file) {
    CXMLClassReaderWriter handle(boost::shared_ptr<CLoggingFile>(),
                                 CXMLClassReaderWriter::XMLIOTYPE_XERCES, true);
    ::testing::internal::CaptureStderr();
    const bool read = handle.ReadFromFile(WidePath(file));
    ::testing::internal::GetCapturedStderr();
    handle.ReleaseDocument();
    return read ? "R" : "-";
}

// "X" when `xmllint --valid` takes the file, "-" when not, and nothing without xmllint.
inline std::string XmllintVerdict(const std::filesystem::path& file) {
#if defined(__linux__)
    if (std::system("xmllint --version > /dev/null 2>&1") == 0)
        return std::system(
                   ("xmllint --noout --valid " + file.string() + " > /dev/null 2>&1").c_str()) == 0
                   ? "X"
                   : "-";
#endif
    (void)file;
    return {};
}

} // namespace classxml::testing
