#pragma once

#include <vector>

#include <xercesc/framework/XMLFormatter.hpp>

#include "classxml/BasicString.h"
#include "classxml/platform/FileReplace.h"

namespace classxml::xerces_output {

// Thrown at the formatter when a write fails, so that it stops early; the target keeps the
// error.
struct WriteFailed {};

// The file a document is written to, as a new version of what stands at its path (see
// platform::FileReplacement): whatever goes wrong before Commit, the path holds what it held. A
// path whose folder does not exist is written to nowhere.
class FileTarget : public xercesc::XMLFormatTarget {
public:
    explicit FileTarget(const CBasicString<WideChar>& path) : m_file(path) {
        m_buffer.reserve(kBufferBytes);
    }

    bool FolderMissing() const {
        return m_file.Kind() == platform::WriteTarget::Kind::MissingFolder;
    }
    bool IsOpen() const { return m_file.IsOpen(); }

    void writeChars(const XMLByte* const bytes, const XMLSize_t count,
                    xercesc::XMLFormatter* const formatter) override;
    // The serialiser flushes on its way out of a failure too: this never throws.
    void flush() override;

    // Writes what is buffered, waits for the device and puts the file in place. True when all
    // of it is there; false after any failure, leaving the path as it was before.
    bool Commit();

private:
    // Output is collected into writes of this size.
    static constexpr std::size_t kBufferBytes = std::size_t(1) << 16;

    bool WriteBuffered();

    platform::FileReplacement m_file;
    std::vector<XMLByte> m_buffer;
};

} // namespace classxml::xerces_output
