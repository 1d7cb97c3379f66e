// Serialising documents and elements to files, byte strings and wide strings, always with the
// same serialiser settings.
#include <algorithm>
#include <memory>
#include <vector>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "classxml/xmlio/DOMPrintErrorHandler.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/FileTarget.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/StringTarget.h"
#include "classxml/xmlio/XercesIO.h"
#include "classxml/xmlio/XercesText.h"
#include "classxml/xmlio/XmlText.h"

using namespace xercesc;
using classxml::xerces_text::ViewOf;

namespace {

constexpr std::size_t kInitialCapacity = 1023;

// ---- What the serialiser can write ----------------------------------------------------------

bool IsText(const XMLCh* text) { return classxml::xml_text::IsXmlText(ViewOf(text)); }

// An attribute's value is held in text children (and entity references, written by name).
// Read from them, not through getValue, which goes through Xerces' costly node casts.
bool HasWritableValue(const DOMNode* attribute) {
    for (const DOMNode* part = attribute->getFirstChild(); part; part = part->getNextSibling())
        if (part->getNodeType() == DOMNode::TEXT_NODE && !IsText(part->getNodeValue()))
            return false;
    return true;
}

bool HasWritableIds(const DOMNode* node) {
    const DOMDocument* document = node->getNodeType() == DOMNode::DOCUMENT_NODE
                                      ? static_cast<const DOMDocument*>(node)
                                      : nullptr;
    const DOMDocumentType* doctype = document ? document->getDoctype() : nullptr;
    return !doctype || (classxml::xml_text::IsPublicId(ViewOf(doctype->getPublicId())) &&
                        classxml::xml_text::IsSystemId(ViewOf(doctype->getSystemId())));
}

// Thrown from the filter at a node that could not be written so that it reads back.
struct Unwritable {};

// Shown every node just before the serialiser writes it, so that nothing is written that could
// not be read back, at no cost of a walk of its own: all text must be text XML 1.0 can carry,
// and elements may nest no deeper than a parser accepts, which also keeps the serialiser's
// recursion far from the end of the stack. Left to itself the serialiser would write broken
// text, stop with an exception or, for a broken surrogate at the end of a CDATA section, never
// finish.
//
// The depth is found by following the serialiser along the tree: it shows every child of an
// element in order, so each node is the first child of the element last entered, or the next
// sibling of the last node shown at some level. Asking a node for its parent instead would go
// through Xerces' node casts, which cost more than the rest of the check.
class WritableFilter : public DOMLSSerializerFilter {
public:
    explicit WritableFilter(const DOMNode* top) {
        if (top->getNodeType() != DOMNode::DOCUMENT_NODE) return; // the top element comes first
        const auto* document = static_cast<const DOMDocument*>(top);
        m_levels.push_back({top, document->getDoctype(), false}); // the DOCTYPE is not shown
        if (m_levels.back().last && document->getFirstChild() != m_levels.back().last)
            m_levels.back().last = nullptr; // it does not come first: follow from the start
    }

    FilterAction acceptNode(const DOMNode* node) const override {
        switch (node->getNodeType()) {
        case DOMNode::ATTRIBUTE_NODE:
            Require(HasWritableValue(node));
            return DOMNodeFilter::FILTER_ACCEPT;
        case DOMNode::ELEMENT_NODE:
            Follow(node);
            m_levels.push_back({node, nullptr, true});
            Require(++m_depth <= classxml::parse_limits::kMaxDepth);
            return DOMNodeFilter::FILTER_ACCEPT;
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            Follow(node);
            Require(IsText(node->getNodeName()) && IsText(node->getNodeValue()));
            return DOMNodeFilter::FILTER_ACCEPT;
        case DOMNode::ENTITY_REFERENCE_NODE: // written by name, its expansion is not shown
            Follow(node);
            return DOMNodeFilter::FILTER_ACCEPT;
        default: // text, CDATA and comments
            Follow(node);
            Require(IsText(node->getNodeValue()));
            return DOMNodeFilter::FILTER_ACCEPT;
        }
    }

    ShowType getWhatToShow() const override {
        return DOMNodeFilter::SHOW_ELEMENT | DOMNodeFilter::SHOW_ATTRIBUTE |
               DOMNodeFilter::SHOW_TEXT | DOMNodeFilter::SHOW_CDATA_SECTION |
               DOMNodeFilter::SHOW_ENTITY_REFERENCE | DOMNodeFilter::SHOW_COMMENT |
               DOMNodeFilter::SHOW_PROCESSING_INSTRUCTION;
    }

private:
    struct Level {
        const DOMNode* parent;
        const DOMNode* last; // the last child shown, null before the first
        bool element;
    };

    static void Require(bool writable) {
        if (!writable) throw Unwritable{};
    }

    // Leaves the levels `node` is not in; it becomes the last node shown on its own level.
    void Follow(const DOMNode* node) const {
        const bool first = !m_started;
        m_started = true;
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            const DOMNode* expected =
                level.last ? level.last->getNextSibling() : level.parent->getFirstChild();
            if (expected == node) {
                level.last = node;
                return;
            }
            m_depth -= level.element ? 1 : 0;
            m_levels.pop_back();
        }
        if (!first) Rebuild(node); // lost track: ask the tree itself
    }

    // The levels from the top of the tree down to `node`, through its parents.
    void Rebuild(const DOMNode* node) const {
        std::vector<const DOMNode*> ancestors;
        for (const DOMNode* parent = node->getParentNode(); parent;
             parent = parent->getParentNode())
            ancestors.push_back(parent);
        const DOMNode* child = node;
        m_levels.resize(ancestors.size());
        for (std::size_t i = 0; i < ancestors.size(); ++i) {
            const bool element = ancestors[i]->getNodeType() == DOMNode::ELEMENT_NODE;
            m_levels[ancestors.size() - 1 - i] = {ancestors[i], child, element};
            m_depth += element ? 1 : 0;
            child = ancestors[i];
        }
    }

    mutable std::vector<Level> m_levels; // from the top down to the node last shown
    mutable std::size_t m_depth = 0;     // elements among them
    mutable bool m_started = false;
};

// The encoding a byte string is written in: the document's own, unless its characters take
// more than one byte each even for markup, which would put zero bytes into the string. Those
// documents are written in UTF-8 (null leaves the choice to the serialiser).
const XMLCh* ByteStringEncoding(const DOMNode* node) {
    const DOMDocument* document = node->getNodeType() == DOMNode::DOCUMENT_NODE
                                      ? static_cast<const DOMDocument*>(node)
                                      : node->getOwnerDocument();
    const XMLCh* own = document ? document->getInputEncoding() : nullptr;
    if ((!own || !*own) && document) own = document->getXmlEncoding();
    if (!own || !*own) return nullptr;
    static constexpr const XMLCh* kWide[] = {WIDE("UTF-16"), WIDE("UTF16"), WIDE("UCS-2"),
                                             WIDE("UCS2"),   WIDE("UCS-4"), WIDE("UCS4"),
                                             WIDE("UTF-32"), WIDE("UTF32"), WIDE("ISO-10646-UCS")};
    for (const XMLCh* wide : kWide)
        if (XMLString::startsWithI(own, wide)) return XMLUni::fgUTF8EncodingString;
    return nullptr;
}

constexpr const XMLCh* kUnwritable =
    WIDE("the document holds text XML cannot carry, or nests deeper than 256 levels");

// ---- The serialiser -------------------------------------------------------------------------

struct SerializerRelease {
    void operator()(DOMLSSerializer* serializer) const { serializer->release(); }
};
struct OutputRelease {
    void operator()(DOMLSOutput* output) const { output->release(); }
};

// A serialiser and its output with the fixed settings: no added line breaks or indentation,
// CDATA sections split rather than refused, DTD default attributes left out, complaints to
// standard error. `encoding` null keeps the document's own encoding (UTF-8 when it has none).
// The implementation is looked up afresh each time, so that documents of an application that
// runs Xerces itself can be saved while the library's engine is stopped.
class Serializer {
public:
    Serializer(const DOMNode* node, const XMLCh* encoding) : m_filter(node) {
        if (!XMLPlatformUtils::fgMemoryManager) return; // Xerces is not running at all
        DOMImplementation* implementation =
            DOMImplementationRegistry::getDOMImplementation(WIDE("LS"));
        if (!implementation) return;
        m_serializer.reset(implementation->createLSSerializer(XMLPlatformUtils::fgMemoryManager));
        m_output.reset(implementation->createLSOutput(XMLPlatformUtils::fgMemoryManager));
        m_serializer->setNewLine(nullptr);
        m_serializer->setFilter(&m_filter);
        m_output->setEncoding(encoding);
        DOMConfiguration* config = m_serializer->getDomConfig();
        config->setParameter(XMLUni::fgDOMErrorHandler, &m_errorHandler);
        SetIfPossible(config, XMLUni::fgDOMWRTSplitCdataSections, true);
        SetIfPossible(config, XMLUni::fgDOMWRTDiscardDefaultContent, true);
        SetIfPossible(config, XMLUni::fgDOMWRTFormatPrettyPrint, false);
    }

    explicit operator bool() const { return m_serializer != nullptr; }

    bool Write(DOMNode* node, XMLFormatTarget& target) {
        m_output->setByteStream(&target);
        return m_serializer->write(node, m_output.get());
    }

private:
    static void SetIfPossible(DOMConfiguration* config, const XMLCh* name, bool value) {
        if (config->canSetParameter(name, value)) config->setParameter(name, value);
    }

    DOMPrintErrorHandler m_errorHandler;
    WritableFilter m_filter;
    std::unique_ptr<DOMLSSerializer, SerializerRelease> m_serializer;
    std::unique_ptr<DOMLSOutput, OutputRelease> m_output;
};

// Runs `write` on a serialiser for `encoding`. Whatever goes wrong, the answer is false: no
// exception of Xerces leaves a save, and a save that did not finish never passes for one that
// did.
template <class Write>
bool WithSerializer(const DOMNode* node, const XMLCh* encoding, Write write) {
    classxml::diagnostics::Begin();
    try {
        if (!HasWritableIds(node)) throw Unwritable{};
        Serializer serializer(node, encoding);
        return serializer && write(serializer);
    } catch (const Unwritable&) {
        classxml::diagnostics::Record(classxml::Diagnostic::Severity::FatalError, nullptr, 0, 0,
                                      kUnwritable);
    } catch (const XMLException&) {
    } catch (const DOMException&) {
    } catch (const OutOfMemoryException&) {
    } catch (const classxml::xerces_output::WriteFailed&) {
    }
    return false;
}

bool SerializeToFile(DOMNode* node, const CXMLIO::View& path) {
    if (path.empty()) return false;
    return WithSerializer(node, nullptr, [&](Serializer& serializer) {
        classxml::xerces_output::FileTarget file{CBasicString<WideChar>(path)};
        if (file.FolderMissing()) return true; // nothing is written, as it always was
        return file.IsOpen() && serializer.Write(node, file) && file.Commit();
    });
}

// Bytes (see ByteStringEncoding) or UTF-16 for WideChar. True when the whole text is in `out`
// and it is not empty.
template <class Char>
bool SerializeToMemory(DOMNode* node, CBasicString<Char>& out) {
    out.clear();
    const XMLCh* encoding =
        sizeof(Char) == 1 ? ByteStringEncoding(node) : XMLUni::fgUTF16EncodingString;
    const bool saved = WithSerializer(node, encoding, [&](Serializer& serializer) {
        out.reserve(kInitialCapacity);
        classxml::xerces_output::StringTarget<Char> target(out);
        // The string is the text up to its first zero, so a zero inside would cut it.
        return serializer.Write(node, target) &&
               std::find(out.begin(), out.end(), Char(0)) == out.end() && !out.empty();
    });
    if (!saved) out.clear(); // never part of a document
    return saved;
}

} // namespace

bool CXercesIO::SaveDocumentToFile(DOMDocument* document, const View& path) {
    return document && SerializeToFile(document, path);
}

bool CXercesIO::SaveDocumentToWideString(DOMDocument* document, CBasicString<WideChar>& out) {
    return document && SerializeToMemory(document, out);
}

bool CXercesIO::SaveDocumentToUTF8String(DOMDocument* document, CBasicString<char8_t>& out) {
    return document && SerializeToMemory(document, out);
}

bool CXercesIO::SaveElementToWideString(DOMDocument*, DOMElement* element,
                                        CBasicString<WideChar>& out) {
    return element && SerializeToMemory(element, out);
}

bool CXercesIO::SaveElementToUTF8String(DOMDocument*, DOMElement* element,
                                        CBasicString<char8_t>& out) {
    return element && SerializeToMemory(element, out);
}
