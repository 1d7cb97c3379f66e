#include "HandleRecords.h"

#include <charconv>
#include <memory>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/util/XMLString.hpp>

#include "PlainDom.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/Utf.h"

namespace classxml::bench {
namespace {

using Handle = CXMLClassReaderWriter;
using Wide = CBasicString<WideChar>;
using namespace xercesc;

Wide Utf16(const std::string& text) { return platform::Utf8ToUtf16(text); }

std::string Utf8(CBasicStringView<WideChar> text) {
    const CBasicString<char8_t> utf8 = platform::Utf16ToUtf8(text);
    return {utf8.begin(), utf8.end()};
}

} // namespace

// ---- Through the handle ----------------------------------------------------------------------

void AddRecordMembers(Handle& element, const Record& record) {
    element.AddintProperty(WIDE("id"), WIDE("int"), record.id);
    element.AdddoubleProperty(WIDE("value"), WIDE("double"), record.value);
    element.AddAlpTStringProperty(WIDE("name"), WIDE("string"), Utf16(record.name));
    element.AddboolProperty(WIDE("flag"), WIDE("bool"), record.flag);
    Handle readings = element.AddVECTORProperty(WIDE("readings"), WIDE("int"));
    for (const std::int32_t reading : record.readings)
        readings.AddintVECTORProperty(WIDE("item"), WIDE("int"), reading);
    Handle tags = element.AddMAPProperty(WIDE("tags"), WIDE("string"), WIDE("int"));
    for (const auto& [key, value] : record.tags) {
        tags.AddAlpTStringMAPProperty(WIDE("key"), WIDE("string"), Utf16(key));
        tags.AddintMAPProperty(WIDE("value"), WIDE("int"), value);
    }
}

std::size_t SaveAndRelease(Handle& root, std::string* text) {
    char* buffer = nullptr;
    unsigned long long length = 0;
    root.SaveToString(&buffer, length, true);
    if (text) text->assign(buffer, length);
    Handle::FreeMemory(&buffer);
    root.ReleaseDocument();
    return length;
}

std::size_t WriteWithHandle(const std::vector<Record>& records, std::string* text) {
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    root.CreateDocument(WIDE("Records"), {}, {});
    for (const Record& record : records) {
        Handle element = root.CreateClass(WIDE("Record"), WIDE("r"));
        AddRecordMembers(element, record);
    }
    return SaveAndRelease(root, text);
}

namespace {

std::string ReadString(Handle& member, const WideChar* name) {
    WideChar* text = nullptr;
    std::size_t length = 0;
    member.GetAlpTStringProperty(name, WIDE("string"), &text, length);
    std::string value = Utf8({text ? text : WIDE(""), length});
    Handle::FreeMemory(&text);
    return value;
}

} // namespace

void GetRecordMembers(Handle& element, Record& record) {
    Handle member = element.GetFirstSubElement();
    member.GetintProperty(WIDE("id"), WIDE("int"), record.id);
    member = member.GetNextElement();
    member.GetdoubleProperty(WIDE("value"), WIDE("double"), record.value);
    member = member.GetNextElement();
    record.name = ReadString(member, WIDE("name"));
    member = member.GetNextElement();
    member.GetboolProperty(WIDE("flag"), WIDE("bool"), record.flag);
    member = member.GetNextElement();
    if (member.IsVECTORProperty(WIDE("readings"), WIDE("int")))
        for (Handle item = member.GetFirstSubElement(); item.IsDefined();
             item = item.GetNextElement())
            item.GetintVECTORProperty(WIDE("item"), WIDE("int"), record.readings.emplace_back());
    member = member.GetNextElement();
    if (member.IsMAPProperty(WIDE("tags"), WIDE("string"), WIDE("int")))
        for (Handle key = member.GetFirstSubElement(); key.IsDefined();
             key = key.GetNextElement().GetNextElement()) {
            Handle value = key.GetNextElement();
            value.GetintMAPProperty(WIDE("value"), WIDE("int"),
                                    record.tags[ReadString(key, WIDE("key"))]);
        }
}

std::vector<Record> ReadWithHandle(std::string_view xml) {
    std::vector<Record> records;
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    if (!root.ReadFromString(CBasicStringView<char>(xml.data(), xml.size()))) return records;
    for (Handle element = root.GetFirstSubElement(WIDE("Record")); element.IsDefined();
         element = element.GetNextElement(WIDE("Record")))
        GetRecordMembers(element, records.emplace_back());
    root.ReleaseDocument();
    return records;
}

// ---- With Xerces directly --------------------------------------------------------------------

namespace {

DOMElement* Container(DOMDocument* document, DOMElement* parent, const XMLCh* name,
                      const XMLCh* kind, const XMLCh* itemType, const XMLCh* valueType) {
    DOMElement* element = document->createElement(name);
    element->setAttribute(WIDE("keytype"), kind);
    element->setAttribute(WIDE("varkeytype"), itemType);
    if (valueType) element->setAttribute(WIDE("vartype"), valueType);
    parent->appendChild(element);
    return element;
}

struct Release {
    template <class Object>
    void operator()(Object* object) const {
        object->release();
    }
};

DOMImplementation* LS() { return DOMImplementationRegistry::getDOMImplementation(WIDE("LS")); }

} // namespace

std::size_t WriteWithXerces(const std::vector<Record>& records, std::string* text) {
    DOMDocument* document = LS()->createDocument(nullptr, WIDE("Records"), nullptr);
    DOMElement* root = document->getDocumentElement();
    for (const Record& record : records) {
        DOMElement* element = document->createElement(WIDE("Record"));
        element->setAttribute(WIDE("varname"), WIDE("r"));
        root->appendChild(element);
        AddProperty(document, element, WIDE("id"), WIDE("int"), PlainNumber(record.id).text);
        AddProperty(document, element, WIDE("value"), WIDE("double"),
                    PlainNumber(record.value, std::chars_format::general, 17).text);
        AddProperty(document, element, WIDE("name"), WIDE("string"), Utf16(record.name).c_str());
        AddProperty(document, element, WIDE("flag"), WIDE("bool"),
                    record.flag ? WIDE("true") : WIDE("false"));
        DOMElement* readings =
            Container(document, element, WIDE("readings"), WIDE("vector"), WIDE("int"), nullptr);
        for (const std::int32_t reading : record.readings)
            AddProperty(document, readings, WIDE("item"), WIDE("int"), PlainNumber(reading).text);
        DOMElement* tags =
            Container(document, element, WIDE("tags"), WIDE("map"), WIDE("string"), WIDE("int"));
        for (const auto& [key, value] : record.tags) {
            AddProperty(document, tags, WIDE("key"), WIDE("string"), Utf16(key).c_str());
            AddProperty(document, tags, WIDE("value"), WIDE("int"), PlainNumber(value).text);
        }
    }
    std::unique_ptr<DOMLSSerializer, Release> serializer(LS()->createLSSerializer());
    std::unique_ptr<DOMLSOutput, Release> output(LS()->createLSOutput());
    DOMConfiguration* config = serializer->getDomConfig();
    config->setParameter(XMLUni::fgDOMWRTSplitCdataSections, true);
    config->setParameter(XMLUni::fgDOMWRTDiscardDefaultContent, true);
    config->setParameter(XMLUni::fgDOMWRTFormatPrettyPrint, false);
    MemBufFormatTarget target(1023);
    output->setByteStream(&target);
    serializer->write(document, output.get());
    if (text) text->assign(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
    document->release();
    return target.getLen();
}

namespace {

// The text of a property element of that name and type: its first child's, as a plain walk
// reads it.
const XMLCh* Text(DOMElement* element, const XMLCh* name, const XMLCh* type) {
    if (!element || !XMLString::equals(element->getTagName(), name) ||
        !XMLString::equals(element->getAttribute(WIDE("keytype")), type))
        return nullptr;
    const DOMNode* child = element->getFirstChild();
    return child ? child->getNodeValue() : XMLUni::fgZeroLenString;
}

template <class Value>
Value Parse(const XMLCh* text) {
    Value value{};
    if (!text) return value;
    char narrow[64];
    std::size_t length = 0;
    while (text[length] && length < sizeof narrow) {
        narrow[length] = static_cast<char>(text[length]);
        ++length;
    }
    std::from_chars(narrow, narrow + length, value);
    return value;
}

std::string String(const XMLCh* text) { return text ? Utf8(CBasicStringView<WideChar>(text)) : ""; }

bool IsContainer(DOMElement* element, const XMLCh* name, const XMLCh* kind) {
    return element && XMLString::equals(element->getTagName(), name) &&
           XMLString::equals(element->getAttribute(WIDE("keytype")), kind);
}

} // namespace

std::vector<Record> ReadWithXerces(std::string_view xml) {
    std::vector<Record> records;
    std::unique_ptr<DOMLSParser, Release> parser(
        LS()->createLSParser(DOMImplementationLS::MODE_SYNCHRONOUS, nullptr));
    parser->getDomConfig()->setParameter(XMLUni::fgDOMNamespaces, false);
    parser->getDomConfig()->setParameter(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "records",
                             false);
    source.setCopyBufToStream(false); // as the library parses the caller's bytes in place
    Wrapper4InputSource input(&source, false);
    DOMDocument* document = parser->parse(&input);
    if (!document) return records;
    for (DOMElement* element = document->getDocumentElement()->getFirstElementChild(); element;
         element = element->getNextElementSibling()) {
        if (!XMLString::equals(element->getTagName(), WIDE("Record"))) continue;
        Record& record = records.emplace_back();
        DOMElement* member = element->getFirstElementChild();
        record.id = Parse<std::int32_t>(Text(member, WIDE("id"), WIDE("int")));
        member = member->getNextElementSibling();
        record.value = Parse<double>(Text(member, WIDE("value"), WIDE("double")));
        member = member->getNextElementSibling();
        record.name = String(Text(member, WIDE("name"), WIDE("string")));
        member = member->getNextElementSibling();
        record.flag = XMLString::equals(Text(member, WIDE("flag"), WIDE("bool")), WIDE("true"));
        member = member->getNextElementSibling();
        if (IsContainer(member, WIDE("readings"), WIDE("vector")))
            for (DOMElement* item = member->getFirstElementChild(); item;
                 item = item->getNextElementSibling())
                record.readings.push_back(
                    Parse<std::int32_t>(Text(item, WIDE("item"), WIDE("int"))));
        member = member->getNextElementSibling();
        if (IsContainer(member, WIDE("tags"), WIDE("map")))
            for (DOMElement* key = member->getFirstElementChild(); key;
                 key = key->getNextElementSibling()->getNextElementSibling())
                record.tags[String(Text(key, WIDE("key"), WIDE("string")))] = Parse<std::int32_t>(
                    Text(key->getNextElementSibling(), WIDE("value"), WIDE("int")));
    }
    return records;
}

} // namespace classxml::bench
