#include "xmlio/FileTarget.h"

#include <cstring>

#include "platform/FileIO.h"

namespace classxml::xerces_output {
namespace {

namespace platform = classxml::platform;
using Kind = platform::WriteTarget::Kind;

// Output is collected into writes of this size.
constexpr std::size_t kBufferBytes = std::size_t(1) << 16;

} // namespace

FileTarget::FileTarget(const CBasicString<WideChar>& path) {
    const platform::WriteTarget target = platform::InspectWriteTarget(path);
    m_kind = target.kind;
    m_target = target.path;
    if (m_kind == Kind::MissingFolder) return;
    if (m_kind == Kind::Other) {
        platform::OpenOptions options;
        options.access = platform::OpenOptions::Access::Write;
        options.truncate = true;
        m_written = m_target;
        m_descriptor = platform::OpenFile(m_written, options, m_error);
    } else {
        m_descriptor = platform::CreateFileBeside(m_target, m_written, m_error);
    }
    m_buffer.reserve(kBufferBytes);
}

FileTarget::~FileTarget() { Discard(); }

void FileTarget::writeChars(const XMLByte* const bytes, const XMLSize_t count,
                            xercesc::XMLFormatter* const) {
    if (m_error != 0) throw WriteFailed{};
    if (m_buffer.size() + count > kBufferBytes) WriteBuffered();
    if (count >= kBufferBytes) {
        m_error = platform::WriteFile(m_descriptor, bytes, count);
    } else {
        m_buffer.insert(m_buffer.end(), bytes, bytes + count);
    }
    if (m_error != 0) throw WriteFailed{};
}

// The serialiser flushes on its way out of a failure too: that must not throw.
void FileTarget::flush() {
    if (m_error == 0) WriteBuffered();
}

void FileTarget::WriteBuffered() {
    if (m_buffer.empty() || m_error != 0) return;
    m_error = platform::WriteFile(m_descriptor, m_buffer.data(), m_buffer.size());
    m_buffer.clear();
    if (m_error != 0) throw WriteFailed{};
}

bool FileTarget::Commit() {
    if (!IsOpen()) return false;
    try {
        WriteBuffered();
    } catch (const WriteFailed&) {
        Discard();
        return false;
    }
    if (m_error == 0) m_error = platform::SyncFile(m_descriptor);
    const int closeError = platform::CloseFile(m_descriptor);
    m_descriptor = -1;
    if (m_error == 0) m_error = closeError;
    if (m_error == 0 && m_kind != Kind::Other) platform::MoveOverFile(m_written, m_target, m_error);
    const bool committed = m_error == 0;
    if (committed) m_written.clear(); // in place now: nothing to discard
    Discard();
    return committed;
}

void FileTarget::Discard() {
    if (m_descriptor >= 0) platform::CloseFile(m_descriptor);
    m_descriptor = -1;
    if (m_kind != Kind::Other && !m_written.empty()) {
        int ignored = 0;
        platform::RemoveFile(m_written, ignored);
    }
    m_written.clear();
}

} // namespace classxml::xerces_output
