#include "classxml/archive/engines/ArchiveWriter.h"

#include "classxml/archive/detail/WideText.h"

namespace classxml::archive_detail {

ArchiveWriter::~ArchiveWriter() = default;

// One line per number type: the engine writes it with its family's writer.
#define CLASSXML_WRITE(Type)                                                                       \
    void ArchiveWriter::Write(std::string_view name, std::string_view type, Type value) {            \
        if (m_result) PutNumber(name, type, value);                                                \
    }
CLASSXML_WRITE(std::int32_t)
CLASSXML_WRITE(std::int64_t)
CLASSXML_WRITE(std::uint32_t)
CLASSXML_WRITE(std::uint64_t)
CLASSXML_WRITE(bool)
CLASSXML_WRITE(double)
CLASSXML_WRITE(DB_ID)
CLASSXML_WRITE(DB_TIME_TYPE)
CLASSXML_WRITE(DB_UTC_TIME_TYPE)
CLASSXML_WRITE(DB_VERSIONNUMBER)
#undef CLASSXML_WRITE

// Group and user ids have no writer of their own; they are 64-bit numbers like DB_ID.
void ArchiveWriter::Write(std::string_view name, std::string_view type, DB_GROUP_ID value) {
    Write(name, type, value.get());
}
void ArchiveWriter::Write(std::string_view name, std::string_view type, DB_USER_ID value) {
    Write(name, type, value.get());
}

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
    if (!m_result) return;
    m_result.ok = false;
    m_result.path = m_path.Text(name);
    m_result.expected = std::move(expected);
    m_result.found = std::move(found);
}

} // namespace classxml::archive_detail
