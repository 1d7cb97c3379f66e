#pragma once

#include <vector>

#include <xercesc/framework/XMLFormatter.hpp>

#include "BasicString.h"
#include "platform/FileReplace.h"

namespace classxml::xerces_output {

// Thrown at the formatter when a write fails, so that it stops early; the target keeps the
// error.
struct WriteFailed {};

// The file a document is written to. A regular file (or a new one) is written under a
// temporary name beside it and moved over it in one step by Commit, so that whatever goes
// wrong, the path holds either the old file or the whole new one. A device or a pipe is
// written in place. A path whose folder does not exist is written to nowhere.
class FileTarget : public xercesc::XMLFormatTarget {
public:
    explicit FileTarget(const CBasicString<WideChar>& path);
    ~FileTarget() override; // a target not committed leaves nothing behind
    FileTarget(const FileTarget&) = delete;
    FileTarget& operator=(const FileTarget&) = delete;

    bool FolderMissing() const { return m_kind == platform::WriteTarget::Kind::MissingFolder; }
    bool IsOpen() const { return m_descriptor >= 0; }

    void writeChars(const XMLByte* const bytes, const XMLSize_t count,
                    xercesc::XMLFormatter* const formatter) override;
    void flush() override;

    // Writes what is buffered, waits for the device and puts the file in place. True when all
    // of it is there; false after any failure, leaving the path as it was before.
    bool Commit();

private:
    void WriteBuffered();
    void Discard();

    platform::WriteTarget::Kind m_kind;
    CBasicString<WideChar> m_target;
    CBasicString<WideChar> m_written; // the temporary file, or the target written in place
    int m_descriptor = -1;
    int m_error = 0;
    std::vector<XMLByte> m_buffer;
};

} // namespace classxml::xerces_output
