#include "classxml/xmlio/FileTarget.h"

namespace classxml::xerces_output {

void FileTarget::writeChars(const XMLByte* const bytes, const XMLSize_t count,
                            xercesc::XMLFormatter* const) {
    if (m_buffer.size() + count > kBufferBytes && !WriteBuffered()) throw WriteFailed{};
    if (count < kBufferBytes)
        m_buffer.insert(m_buffer.end(), bytes, bytes + count);
    else if (!m_file.Write(bytes, count))
        throw WriteFailed{};
}

void FileTarget::flush() { WriteBuffered(); }

bool FileTarget::WriteBuffered() {
    const bool written = m_file.Write(m_buffer.data(), m_buffer.size());
    m_buffer.clear();
    return written;
}

bool FileTarget::Commit() { return WriteBuffered() && m_file.Commit(); }

} // namespace classxml::xerces_output
