// Writing and reading 100,000 properties through the handle, against the same DOM work done
// with Xerces directly: elements with a keytype attribute and a text node, then a walk that
// compares names and types and converts the text back.
#include <charconv>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "BenchmarkRatios.h"
#include "PlainDom.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace {

using Handle = CXMLClassReaderWriter;
using namespace xercesc;
using classxml::bench::AddProperty;
using classxml::bench::PlainNumber;

// Each class holds five scalars and a vector of eight ints: 14 property elements.
constexpr int kClasses = 7143; // 100,002 properties
constexpr int kVectorItems = 8;
const WideChar* const kName = WIDE("a sample name");

double DoubleOf(int i) { return i * 0.37; }
double VersionOf(int i) { return 1 + (i % 1000) / 1000.0; }

// ---- through the handle ---------------------------------------------------------------------

void WriteWithHandle(Handle& root) {
    for (int i = 0; i < kClasses; ++i) {
        Handle sample = root.CreateClass(WIDE("Sample"), WIDE("s"));
        sample.AddintProperty(WIDE("count"), WIDE("int"), i);
        sample.AdddoubleProperty(WIDE("ratio"), WIDE("double"), DoubleOf(i));
        sample.AddboolProperty(WIDE("visible"), WIDE("bool"), i % 2 == 0);
        sample.AddAlpTStringProperty(WIDE("name"), WIDE("string"), kName);
        sample.AddDB_VERSIONNUMBERProperty(WIDE("version"), WIDE("version"),
                                           DB_VERSIONNUMBER(VersionOf(i)));
        Handle values = sample.AddVECTORProperty(WIDE("values"), WIDE("int"));
        for (int k = 0; k < kVectorItems; ++k)
            values.AddintVECTORProperty(WIDE("item"), WIDE("int"), i + k);
    }
}

long long ReadWithHandle(Handle& root) {
    long long sum = 0;
    for (Handle sample = root.GetFirstSubElement(WIDE("Sample")); sample.IsDefined();
         sample = sample.GetNextElement(WIDE("Sample"))) {
        int count = 0;
        double ratio = 0;
        bool visible = false;
        DB_VERSIONNUMBER version;
        WideChar* name = nullptr;
        std::size_t length = 0;
        Handle p = sample.GetFirstSubElement();
        p.GetintProperty(WIDE("count"), WIDE("int"), count);
        p = p.GetNextElement();
        p.GetdoubleProperty(WIDE("ratio"), WIDE("double"), ratio);
        p = p.GetNextElement();
        p.GetboolProperty(WIDE("visible"), WIDE("bool"), visible);
        p = p.GetNextElement();
        p.GetAlpTStringProperty(WIDE("name"), WIDE("string"), &name, length);
        Handle::FreeMemory(&name);
        p = p.GetNextElement();
        p.GetDB_VERSIONNUMBERProperty(WIDE("version"), WIDE("version"), version);
        p = p.GetNextElement();
        if (p.IsVECTORProperty(WIDE("values"), WIDE("int"))) {
            for (Handle item = p.GetFirstSubElement(); item.IsDefined();
                 item = item.GetNextElement()) {
                int value = 0;
                item.GetintVECTORProperty(WIDE("item"), WIDE("int"), value);
                sum += value;
            }
        }
        sum += count + static_cast<long long>(ratio + version.get()) + visible + length;
    }
    return sum;
}

// ---- directly with Xerces -------------------------------------------------------------------

void WriteWithXerces(DOMDocument* document) {
    DOMElement* root = document->getDocumentElement();
    for (int i = 0; i < kClasses; ++i) {
        DOMElement* sample = document->createElement(WIDE("Sample"));
        sample->setAttribute(WIDE("varname"), WIDE("s"));
        root->appendChild(sample);
        AddProperty(document, sample, WIDE("count"), WIDE("int"), PlainNumber(i).text);
        AddProperty(document, sample, WIDE("ratio"), WIDE("double"),
                    PlainNumber(DoubleOf(i), std::chars_format::general, 17).text);
        AddProperty(document, sample, WIDE("visible"), WIDE("bool"),
                    i % 2 == 0 ? WIDE("true") : WIDE("false"));
        AddProperty(document, sample, WIDE("name"), WIDE("string"), kName);
        AddProperty(document, sample, WIDE("version"), WIDE("version"),
                    PlainNumber(VersionOf(i), std::chars_format::fixed, 3).text);
        DOMElement* values = document->createElement(WIDE("values"));
        values->setAttribute(WIDE("keytype"), WIDE("vector"));
        values->setAttribute(WIDE("varkeytype"), WIDE("int"));
        sample->appendChild(values);
        for (int k = 0; k < kVectorItems; ++k)
            AddProperty(document, values, WIDE("item"), WIDE("int"), PlainNumber(i + k).text);
    }
}

// The element's text content when it has the expected name and type, else null. `Minimal`
// takes the first child's value instead: no allocation, but no CDATA, line ends or several
// text nodes either, so it does less than the library's content reading.
template <bool Minimal = false>
const XMLCh* TextOf(DOMElement* element, const XMLCh* name, const XMLCh* type) {
    if (!element || !XMLString::equals(element->getTagName(), name) ||
        !XMLString::equals(element->getAttribute(WIDE("keytype")), type))
        return nullptr;
    if constexpr (Minimal) {
        const DOMNode* text = element->getFirstChild();
        return text ? text->getNodeValue() : XMLUni::fgZeroLenString;
    }
    return element->getTextContent();
}

template <class Number>
Number Parse(const XMLCh* text) {
    Number value{};
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

template <bool Minimal>
long long ReadWithXerces(DOMDocument* document) {
    long long sum = 0;
    DOMElement* root = document->getDocumentElement();
    for (DOMElement* sample = root->getFirstElementChild(); sample;
         sample = sample->getNextElementSibling()) {
        if (!XMLString::equals(sample->getTagName(), WIDE("Sample"))) continue;
        DOMElement* p = sample->getFirstElementChild();
        const int count = Parse<int>(TextOf<Minimal>(p, WIDE("count"), WIDE("int")));
        p = p->getNextElementSibling();
        const double ratio = Parse<double>(TextOf<Minimal>(p, WIDE("ratio"), WIDE("double")));
        p = p->getNextElementSibling();
        const XMLCh* visible = TextOf<Minimal>(p, WIDE("visible"), WIDE("bool"));
        p = p->getNextElementSibling();
        const XMLCh* name = TextOf<Minimal>(p, WIDE("name"), WIDE("string"));
        const std::size_t length = name ? XMLString::stringLen(name) : 0;
        XMLCh* copy = new XMLCh[length + 1];
        std::memcpy(copy, name, (length + 1) * sizeof(XMLCh));
        delete[] copy;
        p = p->getNextElementSibling();
        const double version = Parse<double>(TextOf<Minimal>(p, WIDE("version"), WIDE("version")));
        p = p->getNextElementSibling();
        if (XMLString::equals(p->getTagName(), WIDE("values")) &&
            XMLString::equals(p->getAttribute(WIDE("keytype")), WIDE("vector")) &&
            XMLString::equals(p->getAttribute(WIDE("varkeytype")), WIDE("int"))) {
            for (DOMElement* item = p->getFirstElementChild(); item;
                 item = item->getNextElementSibling())
                sum += Parse<int>(TextOf<Minimal>(item, WIDE("item"), WIDE("int")));
        }
        sum += count + static_cast<long long>(ratio + version) +
               XMLString::equals(visible, WIDE("true")) + length;
    }
    return sum;
}

// ---- benchmarks ------------------------------------------------------------------------------

Handle NewDocument() {
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    root.CreateDocument(WIDE("Root"), {}, {});
    return root;
}

DOMDocument* NewXercesDocument() {
    return DOMImplementationRegistry::getDOMImplementation(WIDE("LS"))
        ->createDocument(nullptr, WIDE("Root"), nullptr);
}

void WriteHandle(benchmark::State& state) {
    for (auto _ : state) {
        Handle root = NewDocument();
        WriteWithHandle(root);
        state.PauseTiming(); // freeing the document is not part of writing
        root.ReleaseDocument();
        state.ResumeTiming();
    }
}

void WriteXerces(benchmark::State& state) {
    for (auto _ : state) {
        DOMDocument* document = NewXercesDocument();
        WriteWithXerces(document);
        state.PauseTiming();
        document->release();
        state.ResumeTiming();
    }
}

void ReadHandle(benchmark::State& state) {
    Handle root = NewDocument();
    WriteWithHandle(root);
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadWithHandle(root));
    root.ReleaseDocument();
}

template <bool Minimal>
void ReadXerces(benchmark::State& state) {
    DOMDocument* document = NewXercesDocument();
    WriteWithXerces(document);
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadWithXerces<Minimal>(document));
    document->release();
}

} // namespace

int main(int argc, char** argv) {
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    classxml::bench::Register("write/handle", WriteHandle, 10, 9);
    classxml::bench::Register("write/xerces", WriteXerces, 10, 9);
    classxml::bench::Register("read/handle", ReadHandle, 10, 9);
    classxml::bench::Register("read/xerces", ReadXerces<false>, 10, 9);
    classxml::bench::Register("read/xerces-first-text-node", ReadXerces<true>, 10, 9);
    const int result = classxml::bench::RunAndCompare(
        argc, argv,
        {{"write 100,000 properties", "write/handle", "write/xerces", 1.2},
         {"walk to and read 100,000 properties", "read/handle", "read/xerces", 1.2},
         {"  the same against first-text-node reads", "read/handle", "read/xerces-first-text-node",
          0}});
    Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);
    return result;
}
