#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"
#include "classxml/WideChar.h"
#include "classxml/platform/Export.h"

namespace classxml {

/// @ingroup stream
/// Takes a long text piece by piece as the parser delivers it, so that it is never held whole:
/// give it to StreamReader::ReadText or StreamReader::SetTextPieces.
class CLASSXML_API TextPieces {
public:
    /// One piece of character data, in document order; the view dies when Take returns. A
    /// surrogate pair may be split between two pieces.
    virtual void Take(CBasicStringView<WideChar> piece) = 0;
    /// The same in UTF-8, whole characters, as the library's own scanner reads most documents;
    /// by default converted and given to Take.
    virtual void TakeUtf8(std::string_view piece);

protected:
    ~TextPieces() = default;
};

/// @ingroup stream
/// Reads a class-XML document as a sequence of events that the application pulls one at a
/// time, without building a DOM, so that a document of any size takes the same small memory.
///
///     classxml::StreamReader in;
///     in.OpenFile(WIDE("records.xml"));
///     for (auto event = in.Next(); event != classxml::StreamReader::Event::End &&
///                                  event != classxml::StreamReader::Event::Error;
///          event = in.Next()) {
///         if (event == classxml::StreamReader::Event::StartElement && in.NameUtf8() == "id") {
///             std::int64_t id = 0;
///             if (!in.ReadValue(id)) fail(in.ValueProblem());
///         }
///     }
///
/// The reader keeps the rules of the handle's readers: a file is validated against the DTD it
/// names as ReadFromFile validates it, with the same verdicts and the same error lines on
/// standard error, and a string is read as ReadFromString reads it; entities are read only as
/// the DTD directory allows; the same limits of depth, entity expansion and memory hold; and
/// the parser's complaints are in LastDiagnostics. Events come as the parse goes, so a
/// document that turns out to be malformed or invalid further on has already delivered its
/// first events: the last event, End or Error, is the verdict on the whole document.
///
/// Text is held only where it is asked for: Skip, NextTag, ReadText into a TextPieces and a
/// reader given SetTextPieces hold none of it, ReadText and ReadValue build their value in
/// place, and only a Text event holds its text whole.
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

    /// Starts reading a file, opened once and read start to end (a FIFO or a pipe too),
    /// validated against its DTD; or standard input, read the same way and named "standard
    /// input"; or a document in UTF-8 or UTF-16 text, which must stay as it is until the reader
    /// is done. Once per reader; false when reading cannot start (Next then answers Error, and
    /// OpenError says why a file could not be opened).
    ///@{
    bool OpenFile(View path);
    bool OpenStandardInput();
    bool OpenString(std::string_view utf8);
    bool OpenString(CBasicStringView<char8_t> utf8);
    bool OpenString(View utf16);
    ///@}
    /// Validates the document that OpenFile or OpenStandardInput opens next against the DTD in
    /// the file `dtdFile` instead of the one it names, as if its DOCTYPE named that file: the
    /// external id of its DOCTYPE is replaced (its internal subset stays), and a document
    /// without one is given one for its root. Where one is given, the columns that the parser
    /// reports after it on the root start tag's line are larger by its length.
    void ValidateAgainst(View dtdFile);
    /// 0, or the system's error number when OpenFile could not open its file
    /// (platform::ErrorText gives it in words).
    int OpenError() const;
    /// @cond INTERNAL
    // Reads the document that opens next with the parser alone, never with the library's own
    // scanner: what the scanner is compared against.
    void ReadWithParser();
    /// @endcond

    /// The next event. After End or Error every call answers the same again.
    Event Next();
    /// The next start or end tag, passing over text without holding it.
    Event NextTag();
    /// From a start tag, reads on to the end tag of the same element, which becomes the current
    /// event, holding none of its text; false when the document ends or fails before it.
    bool Skip();
    /// The same, with the element's own character data (not the text inside its child
    /// elements) built in place in `text`, in UTF-16 or UTF-8, or handed to `pieces` as it is
    /// read.
    ///@{
    bool ReadText(CBasicString<WideChar>& text);
    bool ReadText(std::string& utf8);
    bool ReadText(TextPieces& pieces);
    ///@}
    /// From a start tag, reads the element's text to its end tag as ReadText does and converts
    /// it strictly, as the archive does: no blanks, nothing after the number, nothing out of
    /// range; "true" or "false". False, with `value` as it was and ValueProblem saying why,
    /// when the text is not one value of the type or the document fails before the end tag.
    /// The writer's families, one for one; text is read with ReadText.
    ///@{
    bool ReadValue(std::int32_t& value);
    bool ReadValue(std::int64_t& value);
    bool ReadValue(std::uint32_t& value);
    bool ReadValue(std::uint64_t& value);
    bool ReadValue(bool& value);
    bool ReadValue(double& value);
    bool ReadValue(DB_ID& value);
    bool ReadValue(DB_GROUP_ID& value);
    bool ReadValue(DB_USER_ID& value);
    bool ReadValue(DB_TIME_TYPE& value);
    bool ReadValue(DB_UTC_TIME_TYPE& value);
    bool ReadValue(DB_VERSIONNUMBER& value);
    ///@}
    /// Why the last ReadValue answered false: "expected int, found "12abc"".
    const std::string& ValueProblem() const;

    /// From now on Next hands character data to `pieces` as it is read, instead of making Text
    /// events of it; null makes Text events again.
    void SetTextPieces(TextPieces* pieces);

    /// The current start or end tag's name, in UTF-16 or UTF-8 (converted once per element
    /// name of the document; the view lasts as long as the reader).
    ///@{
    View Name() const;
    std::string_view NameUtf8() const;
    ///@}
    /// The current start tag's attributes, those defaulted from the DTD included. The UTF-8
    /// views are converted when asked for (where the document is not read in UTF-8) and last
    /// until the next event.
    ///@{
    std::size_t AttributeCount() const;
    View AttributeName(std::size_t index) const;
    View AttributeValue(std::size_t index) const;
    std::optional<View> Attribute(View name) const;
    std::string_view AttributeNameUtf8(std::size_t index) const;
    std::string_view AttributeValueUtf8(std::size_t index) const;
    std::optional<std::string_view> AttributeUtf8(std::string_view name) const;
    ///@}
    /// The current text: character data as the parser delivers it, line ends normalised to
    /// line feeds by XML, carriage returns written as references kept. The view lasts until the
    /// next Text event (or the next ReadText, ReadValue or Skip); the UTF-8 one is converted
    /// when asked for.
    ///@{
    View Text() const;
    std::string_view TextUtf8() const;
    ///@}
    /// The elements open after the current event: 1 after the root's start tag.
    std::size_t Depth() const;
    /// The root element the DOCTYPE names, once the reader has passed it (from the first
    /// start tag on); empty when the document has none.
    View DocTypeName() const;
    /// The DOCTYPE's public and system ids (empty when it has none), and whether it has an
    /// internal subset, once the reader has passed it.
    ///@{
    View DocTypePublicId() const;
    View DocTypeSystemId() const;
    bool DocTypeHasInternalSubset() const;
    ///@}

    /// @}

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace classxml
