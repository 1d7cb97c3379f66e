#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "classxml/BasicString.h"
#include "classxml/stream/StreamReader.h"

namespace classxml::stream_detail {

// Where the stream reader's events come from: the parser (XercesEvents), or the library's own
// scanner for documents without a DOCTYPE (ScannerEvents). Each holds names, attributes and
// text in its own encoding, UTF-16 or UTF-8, and converts them to the other when asked, once an
// event.
class EventSource {
public:
    using View = StreamReader::View;
    // In the order of StreamReader::Event, which the first five are.
    enum class Step {
        StartElement,
        Text,
        EndElement,
        End,    // the whole document was read and accepted
        Error,  // not well-formed, not valid, or beyond a limit: the diagnostics say why
        Broken, // the scanner met bytes that are not UTF-8 (Fallback takes over)
    };

    virtual ~EventSource() = default;

    // The next event; after End or Error the same again.
    virtual Step Next() = 0;
    // From now on character data inside elements at `depth` (1 for the root's own text; 0 for
    // any depth) goes to `pieces` as it is read, and all other character data is dropped; with
    // null `pieces` all of it is dropped. QueueText makes Text events of it again.
    virtual void SendText(TextPieces* pieces, std::size_t depth) = 0;
    virtual void QueueText() = 0;

    // Of the current start or end tag.
    virtual View Name() = 0;
    virtual std::string_view NameUtf8() = 0;
    // Of the current start tag.
    virtual std::size_t AttributeCount() = 0;
    virtual View AttributeName(std::size_t index) = 0;
    virtual View AttributeValue(std::size_t index) = 0;
    virtual std::string_view AttributeNameUtf8(std::size_t index) = 0;
    virtual std::string_view AttributeValueUtf8(std::size_t index) = 0;
    // The index of an attribute by its name, or AttributeCount() when there is none.
    virtual std::size_t IndexOf(View name) = 0;
    // The value of an attribute by its name, in one call: the archive's most frequent ask.
    virtual std::optional<std::string_view> AttributeUtf8(std::string_view name) = 0;
    // Of the current text; HandText gives it to `pieces` in the form they take best.
    virtual View Text() = 0;
    virtual std::string_view TextUtf8() = 0;
    virtual void HandText(TextPieces& pieces) { pieces.Take(Text()); }

    // The DOCTYPE, once the first start tag has been read; null and empty without one.
    virtual View DocTypeName() const { return {}; }
    virtual View DocTypePublicId() const { return {}; }
    virtual View DocTypeSystemId() const { return {}; }
    virtual bool DocTypeHasInternalSubset() const { return false; }
};

} // namespace classxml::stream_detail
