#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"
#include "classxml/WideChar.h"
#include "classxml/platform/Export.h"

namespace classxml {

/// @ingroup stream
/// Writes a class-XML document element by element straight to its file or string, without
/// building a DOM, so that a document of any size takes the same small memory. The output is
/// byte for byte what the handle's SaveToFile and SaveToString write for the document that the
/// same sequence of handle calls builds: the same declaration, escapes, value texts and
/// attributes (`keytype`, `varkeytype`, `vartype`, `varname` on a typed writer).
///
///     std::string xml;
///     classxml::StreamWriter out(xml);
///     out.StartDocument(WIDE("Project"));
///     out.BeginClass(WIDE("Task"), WIDE("first"));
///     out.Write(WIDE("count"), WIDE("int"), 42);
///     out.End();
///     bool saved = out.Finish();
///
/// Each call answers whether it wrote its element. A call that is refused (a name XML does not
/// allow, text XML cannot carry, an element deeper than 256 levels, a call out of order)
/// writes nothing and the document goes on; once writing the output fails, every call answers
/// false. A file is written under a temporary name beside its path and moved over it by
/// Finish in one step, so that the path holds the old file or the whole new document, never a
/// part; a writer destroyed unfinished leaves the path as it was.
class CLASSXML_API StreamWriter {
public:
    using View = CBasicStringView<WideChar>; ///< names, type texts and text values
    /// The encoding of a file; strings of bytes are UTF-8, wide strings UTF-16.
    enum class Encoding { Utf8, Utf16 };

    /// @addtogroup stream
    /// @{

    /// A document into `utf8`, emptied first, or into `utf16`; `typeCheck` writes the type
    /// attributes as a typed handle does.
    ///@{
    explicit StreamWriter(CBasicString<char>& utf8, bool typeCheck = true);
    explicit StreamWriter(CBasicString<WideChar>& utf16, bool typeCheck = true);
    ///@}
    /// A document into the file at `path`.
    StreamWriter(View path, Encoding encoding, bool typeCheck = true);
    /// An unfinished document leaves a file's path as it was.
    ~StreamWriter();
    StreamWriter(const StreamWriter&) = delete;
    StreamWriter& operator=(const StreamWriter&) = delete;

    /// Writes the document indented, for people and version control: the declaration, the
    /// DOCTYPE and each element on a line of their own, two spaces a level, and a final newline.
    /// Only white space between elements is added; a value's text is written as it is. Before
    /// StartDocument; false after it.
    bool Indent();

    /// The XML declaration, a DOCTYPE when either identifier is given, and the root element,
    /// into which the following elements go. Once, first.
    bool StartDocument(View rootName, View publicId = {}, View systemId = {});

    /// A class element, with `varname` when `variableName` is given; elements go into it until
    /// End.
    bool BeginClass(View className, View variableName = {});
    /// A container element: keytype "list", "set" or "vector" and varkeytype `itemType`; a
    /// deque is a list. Its items go into it until End.
    ///@{
    bool BeginList(View name, View itemType);
    bool BeginDeque(View name, View itemType);
    bool BeginSet(View name, View itemType);
    bool BeginVector(View name, View itemType);
    ///@}
    /// A map element: keytype "map", varkeytype and vartype; keys and values go into it until
    /// End.
    bool BeginMap(View name, View keyType, View valueType);
    /// An element with these attributes, written as the DOM keeps them (sorted by name), as
    /// the handle's CreateClass and AddAttributeValue make one; elements go into it until End.
    /// The archive writes its pointers and variants so.
    ///@{
    bool BeginElement(View name, std::span<const std::pair<View, View>> attributes);
    bool BeginElement(View name, std::initializer_list<std::pair<View, View>> attributes) {
        return BeginElement(name, std::span(attributes.begin(), attributes.size()));
    }
    ///@}
    /// Closes the element last begun.
    bool End();
    /// Text inside the element last begun, which then holds no more elements: pieces of one
    /// long text (base64) written as they come. False for text XML cannot carry.
    bool WriteCharacters(View text);

    /// A property element `name` with keytype `type` and the value's text, as the handle's
    /// writer of that family writes it.
    ///@{
    bool Write(View name, View type, std::int32_t value);
    bool Write(View name, View type, std::int64_t value);
    bool Write(View name, View type, std::uint32_t value);
    bool Write(View name, View type, std::uint64_t value);
    bool Write(View name, View type, bool value);
    bool Write(View name, View type, double value);
    bool Write(View name, View type, DB_ID value);
    bool Write(View name, View type, DB_GROUP_ID value);
    bool Write(View name, View type, DB_USER_ID value);
    bool Write(View name, View type, DB_TIME_TYPE value);
    bool Write(View name, View type, DB_UTC_TIME_TYPE value);
    bool Write(View name, View type, DB_VERSIONNUMBER value);
    ///@}
    /// Text goes through WriteText: a pointer would otherwise be taken for a bool.
    template <class Char>
    bool Write(View name, View type, const Char* text) = delete;
    /// A property with text content (the string and enumerator families), with its text in
    /// CDATA sections, or with UTF-8 text (up to its first NUL, as AddCUTF8StringMAPProperty;
    /// an ill-formed sequence is U+FFFD, as it becomes when converted), written as it is
    /// decoded, without a copy of it in UTF-16.
    ///@{
    bool WriteText(View name, View type, View text);
    bool WriteCDATA(View name, View type, View text);
    bool WriteUTF8(View name, View type, std::string_view text);
    bool WriteUTF8(View name, View type, CBasicStringView<char8_t> text);
    ///@}

    /// Closes every open element and completes the output: the string holds the document, the
    /// file is moved into place. True when the whole document was written.
    bool Finish();
    /// Writing the output failed; nothing more is written.
    bool Failed() const;

    /// @}

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace classxml
