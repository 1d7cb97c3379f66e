#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"
#include "classxml/archive/Result.h"
#include "classxml/archive/detail/MemberPath.h"
#include "classxml/platform/Export.h"
#include "classxml/valuetext/Families.h"

namespace classxml::archive_detail {

// An attribute a class element carries besides varname, in UTF-8.
using Attribute = std::pair<std::string_view, std::string_view>;

// Where a document is saved: the file at `path`, or `text` when it is given.
struct Destination {
    std::string_view path;
    std::string* text = nullptr;
};

// What the writers of both engines share: every value type taken to the engine's writer of its
// family, UTF-8 text checked, and the first failure kept with the member's path, after which
// writes are skipped.
class CLASSXML_API ArchiveWriter {
public:
    virtual ~ArchiveWriter();

#define CLASSXML_WRITE(Type, Text)                                                                 \
    void Write(std::string_view name, std::string_view type, Type value);
    CLASSXML_VALUE_FAMILIES(CLASSXML_WRITE)
#undef CLASSXML_WRITE
    // Text in UTF-8; ill-formed UTF-8 is refused rather than replaced.
    void Write(std::string_view name, std::string_view type, std::string_view value);
    void Write(std::string_view name, std::string_view type, std::u16string_view value);
    void WriteEnumerator(std::string_view name, std::string_view type, std::string_view value);
    // Reports a value the archive cannot write (an enumerator missing from its table).
    void Refuse(std::string_view name, std::string expected, std::string found);
    // The same at a path taken before (Where), for what is found wrong only later.
    void RefuseAt(std::string path, std::string expected, std::string found);
    std::string Where() const;

    // Ok until a write fails.
    const Result& Status() const { return m_result; }
    // How many elements are open, the root's included.
    std::size_t Depth() const { return m_path.Depth(); }

protected:
    // A value of a number family (identifiers, times and version numbers included).
    using Number = value_text::AnyFamily;
    // Writes one property element; the engine refuses (and reports) what it cannot write.
    virtual void PutNumber(std::string_view name, std::string_view type, const Number& value) = 0;
    virtual void PutText(std::string_view name, std::string_view type,
                         CBasicStringView<WideChar> text, bool enumerator) = 0;

    MemberPath m_path;
    Result m_result;
};

} // namespace classxml::archive_detail
