#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "BasicString.h"
#include "WideChar.h"
#include "platform/Export.h"

namespace classxml {

/// @ingroup stream
/// Reads a class-XML document as a sequence of events that the application pulls one at a
/// time, without building a DOM, so that a document of any size takes the same small memory.
///
///     classxml::StreamReader in;
///     in.OpenFile(WIDE("project.xml"));
///     for (auto event = in.Next(); event == classxml::StreamReader::Event::StartElement ||
///                                  event == classxml::StreamReader::Event::Text ||
///                                  event == classxml::StreamReader::Event::EndElement;
///          event = in.Next()) { ... }
///
/// The reader keeps the rules of the handle's readers: a file is validated against the DTD it
/// names as ReadFromFile validates it, with the same verdicts and the same error lines on
/// standard error, and a string is read as ReadFromString reads it; entities are read only as
/// the DTD directory allows; the same limits of depth, entity expansion and memory hold; and
/// the parser's complaints are in LastDiagnostics. Events come as the parse goes, so a
/// document that turns out to be malformed or invalid further on has already delivered its
/// first events: the last event, End or Error, is the verdict on the whole document.
class CLASSXML_API StreamReader {
public:
    using View = CBasicStringView<WideChar>; ///< names, attribute values and text

    /// What Next found.
    enum class Event {
        StartElement, ///< a start tag (or an empty-element tag): Name and the attributes
        Text,         ///< the character data up to the next tag: Text, CDATA sections included
        EndElement,   ///< an end tag (also after an empty-element tag): Name
        End,          ///< the whole document was read and accepted
        Error,        ///< the document is not well-formed, not valid, or beyond a limit
    };

    /// @addtogroup stream
    /// @{

    StreamReader();
    ~StreamReader();
    StreamReader(const StreamReader&) = delete;
    StreamReader& operator=(const StreamReader&) = delete;

    /// Starts reading a file, validated against its DTD; or a document in UTF-8 or UTF-16 text,
    /// which must stay as it is until the reader is done. Once per reader; false when reading
    /// cannot start (Next then answers Error).
    ///@{
    bool OpenFile(View path);
    bool OpenString(CBasicStringView<char8_t> utf8);
    bool OpenString(View utf16);
    ///@}

    /// The next event. After End or Error every call answers the same again.
    Event Next();
    /// The next start or end tag, passing over text.
    Event NextTag();
    /// From a start tag, reads on to the end tag of the same element, which becomes the current
    /// event; false when the document ends or fails before it.
    bool Skip();
    /// The same, putting the element's own character data into `text` (the text inside its
    /// child elements is passed over).
    bool ReadText(CBasicString<WideChar>& text);

    /// The current start or end tag's name.
    View Name() const;
    /// The current start tag's attributes, those defaulted from the DTD included.
    ///@{
    std::size_t AttributeCount() const;
    View AttributeName(std::size_t index) const;
    View AttributeValue(std::size_t index) const;
    std::optional<View> Attribute(View name) const;
    ///@}
    /// The current text: character data as the parser delivers it, line ends normalised to
    /// line feeds by XML, carriage returns written as references kept.
    View Text() const;
    /// The elements open after the current event: 1 after the root's start tag.
    std::size_t Depth() const;

    /// @}

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace classxml
