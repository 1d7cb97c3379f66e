// A pull reader: the library's own scanner for documents without a DOCTYPE, the parser's SAX2
// scanner for the others, with the DOM readers' rules either way.
#include "classxml/stream/StreamReader.h"

#include <bit>
#include <cstring>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>

#include "classxml/platform/Utf.h"
#include "classxml/scanner/Route.h"
#include "classxml/stream/ScannerEvents.h"
#include "classxml/stream/StreamReaderImpl.h"
#include "classxml/stream/XercesEvents.h"
#include "classxml/valuetext/Families.h"
#include "classxml/xmlio/DOMTreeErrorReporter.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/DocumentInput.h"
#include "classxml/xmlio/Prolog.h"
#include "classxml/xmlio/XercesIO.h"
#include "classxml/xmlio/XercesText.h"

namespace classxml {
namespace {

using namespace xercesc;
using stream_detail::EventSource;
using Step = EventSource::Step;

// How much of a document's start decides who reads it (scanner/Route.h).
constexpr std::size_t kRouteBytes = 64 * 1024;

StreamReader::Event EventOf(Step step) {
    static_assert(int(Step::Error) == int(StreamReader::Event::Error));
    return step == Step::Broken ? StreamReader::Event::Error : StreamReader::Event(step);
}

// The bytes of a document in memory, which the caller keeps until the reader is done.
class MemoryBytes : public scanner::ByteSource {
public:
    MemoryBytes(const void* bytes, std::size_t count)
        : m_start(static_cast<const unsigned char*>(bytes)), m_size(count), m_bytes(m_start),
          m_left(count) {}
    std::size_t Read(unsigned char* into, std::size_t capacity) override {
        const std::size_t count = std::min(capacity, m_left);
        std::memcpy(into, m_bytes, count);
        m_bytes += count;
        m_left -= count;
        return count;
    }
    std::string_view Whole() const override {
        return {reinterpret_cast<const char*>(m_start), m_size};
    }

private:
    const unsigned char* m_start;
    std::size_t m_size;
    const unsigned char* m_bytes;
    std::size_t m_left;
};

// The bytes of a file or of standard input.
class InputBytes : public scanner::ByteSource {
public:
    explicit InputBytes(document_input::Source& source) : m_source(source) {}
    std::size_t Read(unsigned char* into, std::size_t capacity) override {
        return m_source.ReadNext(into, capacity);
    }

private:
    document_input::Source& m_source;
};

// A file's bytes for the scanner, with the open file the parser reads again if need be.
class FileBytes : public InputBytes {
public:
    FileBytes(std::unique_ptr<parse_limits::Budget> budget,
              std::unique_ptr<document_memory::CountedMemory> memory,
              std::unique_ptr<document_input::Source> source)
        : InputBytes(*source), budget(std::move(budget)), memory(std::move(memory)),
          source(std::move(source)) {}
    std::unique_ptr<parse_limits::Budget> budget;
    std::unique_ptr<document_memory::CountedMemory> memory;
    std::unique_ptr<document_input::Source> source;
};

// A diagnostic of the scanner as the parser's own: for a file through the file parse's error
// handler (standard error, unless quiet), for text among the diagnostics only.
void ReportFile(const CBasicString<WideChar>& systemId, const std::string& message,
                std::uint64_t line, std::uint64_t column) {
    const CBasicString<WideChar> text = platform::Utf8ToUtf16(message);
    DOMTreeErrorReporter reporter;
    reporter.fatalError(SAXParseException(reinterpret_cast<const XMLCh*>(text.c_str()), nullptr,
                                          reinterpret_cast<const XMLCh*>(systemId.c_str()), line,
                                          column));
}

void ReportMemory(const std::string& message, std::uint64_t line, std::uint64_t column) {
    const CBasicString<WideChar> text = platform::Utf8ToUtf16(message);
    diagnostics::Record(Diagnostic::Severity::FatalError, CXercesIO::kMemoryBufferId, line, column,
                        reinterpret_cast<const XMLCh*>(text.c_str()));
}

} // namespace

void TextPieces::TakeUtf8(std::string_view piece) {
    const CBasicString<WideChar> wide = platform::Utf8ToUtf16(piece);
    Take(wide);
}

StreamReader::Impl::Impl() { CXercesIO::StartEngine(); }

StreamReader::Impl::~Impl() = default;

bool StreamReader::Impl::Refuse() {
    Finish(Event::Error);
    return false;
}

StreamReader::Event StreamReader::Impl::Finish(Event final) {
    if (!m_edits.empty()) diagnostics::MapColumns(m_editedSource, m_edits);
    m_state = State::Done;
    m_final = final;
    m_current = Event::Error;
    return final;
}

bool StreamReader::Impl::OpenInput(const CBasicString<WideChar>* path) {
    if (m_state != State::New || (path && path->empty())) return Refuse();
    diagnostics::Begin();
    m_state = State::Reading;
    auto budget = std::make_unique<parse_limits::Budget>(0); // grows as the input is read
    auto memory = std::make_unique<document_memory::CountedMemory>(*budget);
    auto source = path ? std::make_unique<document_input::Source>(*path, *budget, memory.get())
                       : std::make_unique<document_input::Source>(*budget, memory.get());
    m_openError = source->OpenError();
    const CBasicString<WideChar> sourceId =
        path ? *path : CBasicString<WideChar>(WIDE("standard input"));
    CBasicString<WideChar> dtdDirectory = CXercesIO::GetDtdDirectory();
    if (m_dtdFile && m_openError == 0) { // named by its file name, found in its folder
        const std::size_t slash = m_dtdFile->find_last_of(WIDE("/\\"));
        dtdDirectory =
            slash == View::npos ? CBasicString<WideChar>() : m_dtdFile->substr(0, slash + 1);
        const auto name = platform::Utf16ToUtf8(View(*m_dtdFile).substr(slash + 1));
        const bool named = source->NameDtd(platform::AsBytes(name));
        m_edits = source->Edits();
        m_editedSource = std::string(
            platform::AsBytes(platform::Utf16ToUtf8(xerces_text::ViewOf(source->getSystemId()))));
        if (!named) {
            diagnostics::Record(Diagnostic::Severity::FatalError, xerces_text::Terminated(sourceId),
                                0, 0,
                                reinterpret_cast<const XMLCh*>(
                                    WIDE("no DTD can be named for the document: its prolog is not "
                                         "well-formed, or longer than 1 MiB")));
            return Refuse();
        }
    }
    const std::vector<unsigned char>& head = source->Head(kRouteBytes);
    const auto route = m_dtdFile || m_openError != 0 || m_parserOnly
                           ? std::nullopt
                           : scanner::RouteOf(head.data(), head.size());
    if (route) {
        const CBasicString<WideChar> systemId(xerces_text::ViewOf(source->getSystemId()));
        auto bytes =
            std::make_unique<FileBytes>(std::move(budget), std::move(memory), std::move(source));
        FileBytes& file = *bytes;
        m_reportBroken = [systemId](const std::string& message, std::uint64_t line,
                                    std::uint64_t column) {
            ReportFile(systemId, message, line, column);
        };
        m_restart = [&file, sourceId,
                     dtdDirectory]() -> std::unique_ptr<stream_detail::XercesEvents> {
            stream_detail::ParserInput input;
            input.budget = std::make_unique<parse_limits::Budget>(0);
            input.memory = std::make_unique<document_memory::CountedMemory>(*input.budget);
            auto again = file.source->Restarted(*input.budget, input.memory.get());
            if (!again) return nullptr;
            input.source = std::move(again);
            input.sourceId = sourceId;
            input.file = true;
            input.namesNoDtd = true;
            input.dtdDirectory = dtdDirectory;
            return std::make_unique<stream_detail::XercesEvents>(std::move(input));
        };
        m_source = std::make_unique<stream_detail::ScannerEvents>(
            std::move(bytes), *route,
            [report = m_reportBroken](const scanner::Scanner::Failure& failure) {
                report(failure.message, failure.place.line, failure.place.column);
            });
        RestoreText();
        return true;
    }
    const bool namesNoDtd =
        !m_dtdFile && prolog::NamesNoDtd(prolog::Units::Sniffed(head.data(), head.size()));
    stream_detail::ParserInput input{
        std::move(budget), std::move(memory),      std::move(source), sourceId, true,
        namesNoDtd,        std::move(dtdDirectory)};
    auto parser = std::make_unique<stream_detail::XercesEvents>(std::move(input));
    const bool started = parser->Started();
    m_source = std::move(parser);
    RestoreText(); // where SetTextPieces sent it before the reading started
    return started;
}

bool StreamReader::Impl::OpenMemory(const void* bytes, std::size_t byteCount, bool utf16) {
    if (m_state != State::New) return Refuse();
    diagnostics::Begin(); // an empty document too is a reading of its own
    if (byteCount == 0) return Refuse();
    m_state = State::Reading;
    const auto makeParser = [bytes, byteCount, utf16](bool namesNoDtd) {
        stream_detail::ParserInput input;
        input.budget = std::make_unique<parse_limits::Budget>(byteCount);
        input.memory = std::make_unique<document_memory::CountedMemory>(*input.budget);
        auto source = std::make_unique<MemBufInputSource>(static_cast<const XMLByte*>(bytes),
                                                          byteCount, CXercesIO::kMemoryBufferId,
                                                          false, input.memory.get());
        source->setEncoding(utf16 ? XMLUni::fgUTF16EncodingString : XMLUni::fgUTF8EncodingString);
        source->setCopyBufToStream(false); // the caller keeps the text until the end
        input.source = std::move(source);
        input.sourceId = CXercesIO::kMemoryBufferId;
        input.namesNoDtd = namesNoDtd;
        input.dtdDirectory = CXercesIO::GetDtdDirectory();
        return std::make_unique<stream_detail::XercesEvents>(std::move(input));
    };
    const auto* head = static_cast<const unsigned char*>(bytes);
    constexpr auto kNative = std::endian::native == std::endian::little
                                 ? scanner::Encoding::Utf16Little
                                 : scanner::Encoding::Utf16Big;
    const auto route = m_parserOnly ? std::nullopt
                                    : scanner::RouteOf(head, std::min(byteCount, kRouteBytes),
                                                       utf16 ? kNative : scanner::Encoding::Utf8);
    if (route) {
        m_reportBroken = ReportMemory;
        m_restart = [makeParser] { return makeParser(true); };
        m_source = std::make_unique<stream_detail::ScannerEvents>(
            std::make_unique<MemoryBytes>(bytes, byteCount), *route,
            [](const scanner::Scanner::Failure& failure) {
                ReportMemory(failure.message, failure.place.line, failure.place.column);
            });
        RestoreText();
        return true;
    }
    const bool namesNoDtd =
        utf16 ? prolog::NamesNoDtd(
                    prolog::Units::Utf16({static_cast<const WideChar*>(bytes), byteCount / 2}))
              : prolog::NamesNoDtd(
                    prolog::Units::Utf8({static_cast<const char8_t*>(bytes), byteCount}));
    auto parser = makeParser(namesNoDtd);
    const bool started = parser->Started();
    m_source = std::move(parser);
    RestoreText();
    return started;
}

// Character data goes where the application asked for it.
void StreamReader::Impl::RestoreText() {
    if (!m_source) return; // not reading: set when it starts
    if (m_userPieces)
        m_source->SendText(m_userPieces, 0);
    else
        m_source->QueueText();
}

EventSource::Step StreamReader::Impl::Fallback() {
    auto* scanner = static_cast<stream_detail::ScannerEvents*>(m_source.get());
    std::unique_ptr<stream_detail::XercesEvents> parser = m_restart ? m_restart() : nullptr;
    if (!parser) { // read once, as it came: the place of the bytes is the error's
        const scanner::Scanner::Failure& broken = scanner->BrokenHere();
        m_reportBroken(broken.message, broken.place.line, broken.place.column);
        return Step::Error;
    }
    parser->QueueText();
    Step step = Step::Error;
    for (std::uint64_t tags = scanner->TagsDelivered(); tags > 0;) {
        step = parser->Next();
        if (step == Step::StartElement || step == Step::EndElement) --tags;
        if (step == Step::End || step == Step::Error) return step; // cannot be
    }
    for (std::uint64_t bytes = scanner->TextBytesSinceTag(); bytes > 0;) {
        step = parser->Next();
        if (step != Step::Text) {
            parser->RepeatCurrent();
            break;
        }
        // The parser's UTF-16 counted as the scanner's UTF-8, unit by unit.
        const View text = parser->Text();
        std::size_t units = 0;
        while (units < text.size() && bytes > 0) {
            const char32_t unit = static_cast<std::uint16_t>(text[units]);
            const bool pair = platform::IsHighSurrogate(unit) && units + 1 < text.size() &&
                              platform::IsLowSurrogate(static_cast<std::uint16_t>(text[units + 1]));
            bytes -= std::min<std::uint64_t>(bytes, unit < 0x80    ? 1
                                                    : unit < 0x800 ? 2
                                                    : pair         ? 4
                                                                   : 3);
            units += pair ? 2 : 1;
        }
        if (units < text.size()) {
            parser->DropTextPrefix(units);
            parser->RepeatCurrent();
            break;
        }
    }
    m_source = std::move(parser);
    RestoreText();
    return m_source->Next();
}

StreamReader::Event StreamReader::Impl::Next() {
    if (m_state != State::Reading) // not yet opened, or done
        return m_state == State::Done ? m_final : Finish(Event::Error);
    Step step = m_source->Next();
    if (step == Step::Broken) step = Fallback();
    m_current = EventOf(step);
    switch (step) {
    case Step::StartElement:
        ++m_depth;
        return m_current;
    case Step::EndElement:
        --m_depth;
        return m_current;
    case Step::Text:
        return m_current;
    default:
        return Finish(m_current);
    }
}

StreamReader::Event StreamReader::Impl::NextTag() {
    if (!m_source) return Next(); // not reading: answers as Next does
    m_source->SendText(nullptr, 0);
    Event event;
    while ((event = Next()) == Event::Text) {
    }
    RestoreText();
    return event;
}

bool StreamReader::Impl::ReadToEnd(TextPieces* pieces) {
    if (m_current != Event::StartElement) return false;
    const std::size_t inside = m_depth;
    m_source->SendText(pieces, inside);
    bool ended = false;
    for (bool reading = true; reading;) {
        switch (Next()) {
        case Event::Text: // queued before the text went to `pieces`
            if (pieces && m_depth == inside) m_source->HandText(*pieces);
            break;
        case Event::EndElement:
            ended = m_depth == inside - 1;
            reading = !ended;
            break;
        case Event::StartElement:
            break;
        default:
            reading = false;
        }
    }
    RestoreText();
    return ended;
}

StreamReader::StreamReader() : m_impl(std::make_unique<Impl>()) {}

StreamReader::~StreamReader() = default;

bool StreamReader::OpenFile(View path) {
    const CBasicString<WideChar> file(path);
    return m_impl->OpenInput(&file);
}

bool StreamReader::OpenStandardInput() { return m_impl->OpenInput(nullptr); }

bool StreamReader::OpenString(std::string_view utf8) {
    return m_impl->OpenMemory(utf8.data(), utf8.size(), false);
}

bool StreamReader::OpenString(CBasicStringView<char8_t> utf8) {
    return OpenString(platform::AsBytes(utf8));
}

bool StreamReader::OpenString(View utf16) {
    return m_impl->OpenMemory(utf16.data(), 2 * utf16.size(), true);
}

int StreamReader::OpenError() const { return m_impl->OpenError(); }

StreamReader::Event StreamReader::Next() { return m_impl->Next(); }

StreamReader::Event StreamReader::NextTag() { return m_impl->NextTag(); }

bool StreamReader::Skip() { return m_impl->ReadToEnd(nullptr); }

bool StreamReader::ReadText(CBasicString<WideChar>& text) {
    return m_impl->ReadTextInto<stream_detail::Utf16Text<CBasicString<WideChar>>>(text);
}

bool StreamReader::ReadText(std::string& utf8) {
    return m_impl->ReadTextInto<stream_detail::Utf8Text>(utf8);
}

bool StreamReader::ReadText(TextPieces& pieces) { return m_impl->ReadToEnd(&pieces); }

// One line per value family: each goes through the one strict conversion of its type.
#define CLASSXML_READ_VALUE(Type, Text)                                                            \
    bool StreamReader::ReadValue(Type& value) { return m_impl->ReadValue(value, Text); }
CLASSXML_VALUE_FAMILIES(CLASSXML_READ_VALUE)
#undef CLASSXML_READ_VALUE

const std::string& StreamReader::ValueProblem() const { return m_impl->ValueProblem(); }

void StreamReader::SetTextPieces(TextPieces* pieces) { m_impl->SetTextPieces(pieces); }

StreamReader::View StreamReader::Name() const {
    auto* source = m_impl->CurrentTag();
    return source ? source->Name() : View();
}

std::string_view StreamReader::NameUtf8() const {
    auto* source = m_impl->CurrentTag();
    return source ? source->NameUtf8() : std::string_view();
}

std::size_t StreamReader::AttributeCount() const {
    auto* source = m_impl->Current(Event::StartElement);
    return source ? source->AttributeCount() : 0;
}

StreamReader::View StreamReader::AttributeName(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return m_impl->Source()->AttributeName(index);
}

StreamReader::View StreamReader::AttributeValue(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return m_impl->Source()->AttributeValue(index);
}

std::string_view StreamReader::AttributeNameUtf8(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return m_impl->Source()->AttributeNameUtf8(index);
}

std::string_view StreamReader::AttributeValueUtf8(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return m_impl->Source()->AttributeValueUtf8(index);
}

std::optional<StreamReader::View> StreamReader::Attribute(View name) const {
    auto* source = m_impl->Current(Event::StartElement);
    if (!source) return std::nullopt;
    const std::size_t index = source->IndexOf(name);
    if (index == source->AttributeCount()) return std::nullopt;
    return source->AttributeValue(index);
}

std::optional<std::string_view> StreamReader::AttributeUtf8(std::string_view name) const {
    auto* source = m_impl->Current(Event::StartElement);
    if (!source) return std::nullopt;
    return source->AttributeUtf8(name);
}

StreamReader::View StreamReader::Text() const {
    auto* source = m_impl->Current(Event::Text);
    return source ? source->Text() : View();
}

std::string_view StreamReader::TextUtf8() const {
    auto* source = m_impl->Current(Event::Text);
    return source ? source->TextUtf8() : std::string_view();
}

std::size_t StreamReader::Depth() const { return m_impl->Depth(); }

StreamReader::View StreamReader::DocTypeName() const {
    return m_impl->Source() ? m_impl->Source()->DocTypeName() : View();
}

StreamReader::View StreamReader::DocTypePublicId() const {
    return m_impl->Source() ? m_impl->Source()->DocTypePublicId() : View();
}

StreamReader::View StreamReader::DocTypeSystemId() const {
    return m_impl->Source() ? m_impl->Source()->DocTypeSystemId() : View();
}

bool StreamReader::DocTypeHasInternalSubset() const {
    return m_impl->Source() && m_impl->Source()->DocTypeHasInternalSubset();
}

void StreamReader::ValidateAgainst(View dtdFile) { m_impl->ValidateAgainst(dtdFile); }

void StreamReader::ReadWithParser() { m_impl->ReadWithParser(); }

} // namespace classxml
