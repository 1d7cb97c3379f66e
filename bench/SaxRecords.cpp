#include "SaxRecords.h"

#include <charconv>
#include <memory>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"

namespace classxml::bench {
namespace {

using namespace xercesc;

// The reader the stream engine uses for a document without a DTD: SAX2, the scanner for
// well-formedness alone, namespaces off.
std::unique_ptr<SAX2XMLReader> NewReader(DefaultHandler& handler) {
    std::unique_ptr<SAX2XMLReader> reader(XMLReaderFactory::createXMLReader());
    reader->setProperty(XMLUni::fgXercesScannerName, const_cast<XMLCh*>(XMLUni::fgWFXMLScanner));
    reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
    reader->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
    reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
    reader->setContentHandler(&handler);
    reader->setErrorHandler(&handler);
    return reader;
}

// Progressively, a step of the scanner at a time, as a pull reader must; or the whole document
// in one call.
void Parse(std::string_view xml, DefaultHandler& handler, Scan scan) {
    const auto reader = NewReader(handler);
    MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "records");
    if (scan == Scan::Whole) return reader->parse(source);
    XMLPScanToken token;
    for (bool more = reader->parseFirst(source, token); more; more = reader->parseNext(token)) {
    }
}

bool Is(const XMLCh* name, const char16_t* literal) {
    return XMLString::equals(name, reinterpret_cast<const XMLCh*>(literal));
}

// A number from text the parser gave: ASCII, so narrowed unit by unit, then from_chars.
template <class Number>
Number NumberOf(const std::u16string& text) {
    char narrow[64];
    const std::size_t length = std::min(text.size(), sizeof narrow);
    for (std::size_t i = 0; i < length; ++i)
        narrow[i] = static_cast<char>(text[i]);
    Number number{};
    std::from_chars(narrow, narrow + length, number);
    return number;
}

// The records, as a handler that knows the document's shape builds them.
class RecordHandler : public DefaultHandler {
public:
    explicit RecordHandler(std::vector<Record>& records) : m_records(records) {}

    void startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const name,
                      const Attributes&) override {
        m_text.clear();
        ++m_depth;
        if (m_depth == 2) {
            m_records.emplace_back();
        } else if (m_depth == 3) {
            m_member = Is(name, u"readings") ? Member::Readings
                       : Is(name, u"tags")   ? Member::Tags
                                             : Member::Scalar;
        }
    }
    void characters(const XMLCh* const text, const XMLSize_t length) override {
        m_text.append(reinterpret_cast<const char16_t*>(text), length);
    }
    void endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const name) override {
        Record& record = m_records.back();
        if (m_depth == 3 && m_member == Member::Scalar) {
            if (Is(name, u"id"))
                record.id = NumberOf<std::int32_t>(m_text);
            else if (Is(name, u"value"))
                record.value = NumberOf<double>(m_text);
            else if (Is(name, u"name"))
                record.name = Utf8(m_text);
            else if (Is(name, u"flag"))
                record.flag = m_text == u"true";
        } else if (m_depth == 4 && m_member == Member::Readings) {
            record.readings.push_back(NumberOf<std::int32_t>(m_text));
        } else if (m_depth == 4 && m_member == Member::Tags) {
            if (Is(name, u"key"))
                m_key = Utf8(m_text);
            else
                record.tags.emplace(std::move(m_key), NumberOf<std::int32_t>(m_text));
        }
        m_text.clear();
        --m_depth;
    }

private:
    enum class Member { Scalar, Readings, Tags };
    static std::string Utf8(const std::u16string& text) {
        std::string utf8;
        platform::AppendUtf16ToUtf8(
            CBasicStringView<WideChar>(reinterpret_cast<const WideChar*>(text.data()), text.size()),
            utf8);
        return utf8;
    }

    std::vector<Record>& m_records;
    std::u16string m_text;
    std::string m_key;
    int m_depth = 0;
    Member m_member = Member::Scalar;
};

// Takes every event and does nothing with it.
class EmptyHandler : public DefaultHandler {
public:
    void startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const,
                      const Attributes&) override {
        ++events;
    }
    void endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const) override {
        ++events;
    }
    std::size_t events = 0;
};

} // namespace

std::vector<Record> ReadWithSax(std::string_view xml, Scan scan) {
    std::vector<Record> records;
    RecordHandler handler(records);
    Parse(xml, handler, scan);
    return records;
}

std::size_t CountWithSax(std::string_view xml, Scan scan) {
    EmptyHandler handler;
    Parse(xml, handler, scan);
    return handler.events;
}

std::size_t CountStreamEvents(std::string_view xml, Reading reading) {
    StreamReader reader;
    if (reading == Reading::Parser) reader.ReadWithParser();
    reader.OpenString(xml);
    std::size_t events = 0;
    for (auto event = reader.Next();
         event != StreamReader::Event::End && event != StreamReader::Event::Error;
         event = reader.Next())
        events += event != StreamReader::Event::Text;
    return events;
}

// As a user writes it with the reader's UTF-8 names and typed reads.
std::vector<Record> ReadWithStreamReader(std::string_view xml) {
    std::vector<Record> records;
    StreamReader in;
    in.OpenString(xml);
    using Event = StreamReader::Event;
    if (in.NextTag() != Event::StartElement) return {};
    while (in.NextTag() == Event::StartElement) { // a Record
        Record& record = records.emplace_back();
        while (in.NextTag() == Event::StartElement) {
            const std::string_view name = in.NameUtf8();
            if (name == "id") {
                in.ReadValue(record.id);
            } else if (name == "value") {
                in.ReadValue(record.value);
            } else if (name == "name") {
                in.ReadText(record.name);
            } else if (name == "flag") {
                in.ReadValue(record.flag);
            } else if (name == "readings") {
                while (in.NextTag() == Event::StartElement)
                    in.ReadValue(record.readings.emplace_back());
            } else if (name == "tags") {
                std::string key;
                while (in.NextTag() == Event::StartElement && in.ReadText(key) &&
                       in.NextTag() == Event::StartElement)
                    in.ReadValue(record.tags[key]);
            } else {
                in.Skip();
            }
        }
    }
    return records;
}

// The same by hand from the events: names compared as UTF-16, numbers with from_chars.
std::vector<Record> ReadWithStreamEvents(std::string_view xml) {
    std::vector<Record> records;
    StreamReader in;
    in.OpenString(xml);
    using Event = StreamReader::Event;
    const auto text = [&] {
        std::u16string value;
        Event event;
        while ((event = in.Next()) == Event::Text)
            value.append(in.Text().begin(), in.Text().end());
        return value;
    };
    const auto is = [&](const char16_t* name) {
        return in.Name() == CBasicStringView<WideChar>(reinterpret_cast<const WideChar*>(name));
    };
    if (in.NextTag() != Event::StartElement) return {};
    while (in.NextTag() == Event::StartElement) {
        Record& record = records.emplace_back();
        while (in.NextTag() == Event::StartElement) {
            if (is(u"id")) {
                record.id = NumberOf<std::int32_t>(text());
            } else if (is(u"value")) {
                record.value = NumberOf<double>(text());
            } else if (is(u"name")) {
                const std::u16string name = text();
                record.name.assign(name.begin(), name.end());
            } else if (is(u"flag")) {
                record.flag = text() == u"true";
            } else if (is(u"readings")) {
                while (in.NextTag() == Event::StartElement)
                    record.readings.push_back(NumberOf<std::int32_t>(text()));
            } else if (is(u"tags")) {
                while (in.NextTag() == Event::StartElement) {
                    const std::u16string key = text();
                    in.NextTag();
                    record.tags[std::string(key.begin(), key.end())] =
                        NumberOf<std::int32_t>(text());
                }
            } else {
                in.Skip();
            }
        }
    }
    return records;
}

} // namespace classxml::bench
