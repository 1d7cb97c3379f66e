#include "classxml/archive/engines/ArchiveWriter.h"

#include "classxml/archive/detail/WideText.h"

namespace classxml::archive_detail {

ArchiveWriter::~ArchiveWriter() = default;

// One line per value family: the engine writes it with its family's writer.
#define CLASSXML_WRITE(Type, Text)                                                                 \
    void ArchiveWriter::Write(std::string_view name, std::string_view type, Type value) {          \
        if (m_result) PutNumber(name, type, value);                                                \
    }
CLASSXML_VALUE_FAMILIES(CLASSXML_WRITE)
#undef CLASSXML_WRITE

void ArchiveWriter::Write(std::string_view name, std::string_view type, std::string_view value) {
    if (!m_result) return;
    const WideText text(value);
    if (!text.valid()) return Refuse(name, "UTF-8 text", "an ill-formed byte sequence");
    PutText(name, type, text.view(), false);
}

void ArchiveWriter::Write(std::string_view name, std::string_view type, std::u16string_view value) {
    if (!m_result) return;
    PutText(
        name, type,
        CBasicStringView<WideChar>(reinterpret_cast<const WideChar*>(value.data()), value.size()),
        false);
}

void ArchiveWriter::WriteEnumerator(std::string_view name, std::string_view type,
                                    std::string_view value) {
    if (m_result) PutText(name, type, WideText(value).view(), true);
}

void ArchiveWriter::Refuse(std::string_view name, std::string expected, std::string found) {
    if (m_result) RefuseAt(m_path.Text(name), std::move(expected), std::move(found));
}

void ArchiveWriter::RefuseAt(std::string path, std::string expected, std::string found) {
    if (!m_result) return;
    m_result.ok = false;
    m_result.path = std::move(path);
    m_result.expected = std::move(expected);
    m_result.found = std::move(found);
}

std::string ArchiveWriter::Where() const { return m_path.Text(); }

} // namespace classxml::archive_detail
