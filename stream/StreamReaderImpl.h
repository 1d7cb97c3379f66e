#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "classxml/stream/EventSource.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/stream/TextCollectors.h"
#include "classxml/xmlio/DoctypeOverride.h"

namespace classxml::stream_detail {
class XercesEvents;
}

namespace classxml {

// The reading a StreamReader does: a document opened once, its events from the library's own
// scanner where the document has no DOCTYPE and from the parser otherwise, and what a reader
// builds on them (passing over elements, gathering their text, converting values).
class StreamReader::Impl {
public:
    using Step = stream_detail::EventSource::Step;

    Impl();
    ~Impl();

    // A file, or standard input (null): validated against its DTD, complaints to standard
    // error, as ReadFromFile.
    bool OpenInput(const CBasicString<WideChar>* path);
    // Text: not validated, complaints among the diagnostics only, as ReadFromString.
    bool OpenMemory(const void* bytes, std::size_t byteCount, bool utf16);
    void ValidateAgainst(View dtdFile) { m_dtdFile.emplace(dtdFile); }
    void ReadWithParser() { m_parserOnly = true; }
    int OpenError() const { return m_openError; }

    Event Next();
    // Passes over text, holding none of it.
    Event NextTag();
    // From a start tag to its end tag; the element's own text goes to `pieces` (null: dropped).
    bool ReadToEnd(TextPieces* pieces);
    template <class Collector, class Text>
    bool ReadTextInto(Text& text) {
        Collector collector(text);
        const bool ended = ReadToEnd(&collector);
        collector.Finish();
        return ended;
    }
    template <class Value>
    bool ReadValue(Value& value, const char* type) {
        m_valueProblem.clear();
        stream_detail::ValueText text;
        if (!ReadToEnd(&text)) {
            m_valueProblem = "expected " + std::string(type) + ", found the document ending";
            return false;
        }
        const std::optional<Value> parsed = text.Parse<Value>();
        if (!parsed) {
            m_valueProblem = "expected " + std::string(type) + ", found " + text.Quoted();
            return false;
        }
        value = *parsed;
        return true;
    }
    const std::string& ValueProblem() const { return m_valueProblem; }
    void SetTextPieces(TextPieces* pieces) {
        m_userPieces = pieces;
        RestoreText();
    }

    // The current event's source when it is of `kind`, else null.
    stream_detail::EventSource* Current(Event kind) const {
        return m_current == kind ? m_source.get() : nullptr;
    }
    stream_detail::EventSource* CurrentTag() const {
        return m_current == Event::StartElement || m_current == Event::EndElement ? m_source.get()
                                                                                  : nullptr;
    }
    std::size_t Depth() const { return m_depth; }
    stream_detail::EventSource* Source() const { return m_source.get(); }

private:
    enum class State { New, Reading, Done };

    bool Refuse();
    Event Finish(Event final);
    void RestoreText();
    // The scanner met bytes that are not UTF-8: the parser reads the document again from its
    // start, passes over what the scanner delivered, and goes on from there.
    Step Fallback();

    State m_state = State::New;
    Event m_final = Event::Error;
    Event m_current = Event::Error; // of the last Next; Error when there is none
    std::unique_ptr<stream_detail::EventSource> m_source;
    // Makes the parser read the document from its start; null where it cannot be read again.
    std::function<std::unique_ptr<stream_detail::XercesEvents>()> m_restart;
    std::function<void(const std::string&, std::uint64_t, std::uint64_t)> m_reportBroken;
    int m_openError = 0;
    std::optional<CBasicString<WideChar>> m_dtdFile; // validate against it, not the named one
    std::vector<doctype_override::Edit> m_edits;     // where naming that DTD moved columns
    std::string m_editedSource;                      // in the document of this system id
    std::size_t m_depth = 0;
    bool m_parserOnly = false;
    TextPieces* m_userPieces = nullptr;
    std::string m_valueProblem;
};

} // namespace classxml
