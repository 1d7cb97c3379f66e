#include "classxml/xmlio/DtdDeclarations.h"

#include <algorithm>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/XMLNotationDecl.hpp>
#include <xercesc/parsers/SAXParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/validators/DTD/DTDGrammar.hpp>
#include <xercesc/validators/common/ContentSpecNode.hpp>

#include "classxml/platform/Path.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/EntityPolicy.h"
#include "classxml/xmlio/XercesIO.h"
#include "classxml/xmlio/XercesText.h"

namespace classxml::dtd_declarations {
namespace {

using xercesc::ContentSpecNode;
using xercesc::XMLAttDef;

std::string Utf8(const XMLCh* text) {
    std::string out;
    platform::AppendUtf16ToUtf8(xerces_text::ViewOf(text), out);
    return out;
}

// Keeps the first error, with where it stands, and stops the load there.
class FirstError : public xercesc::HandlerBase {
public:
    void error(const xercesc::SAXParseException& exception) override { Keep(exception); }
    void fatalError(const xercesc::SAXParseException& exception) override { Keep(exception); }
    std::string problem;

private:
    void Keep(const xercesc::SAXParseException& exception) {
        if (problem.empty())
            problem = "line " + std::to_string(exception.getLineNumber()) + ", column " +
                      std::to_string(exception.getColumnNumber()) + ": " +
                      Utf8(exception.getMessage());
        throw exception;
    }
};

// Content models nested deeper than this (counting each link of a long list) are refused
// rather than followed down the stack.
constexpr int kDeepestModel = 10000;
struct TooDeep {};

Particle ParticleOf(const ContentSpecNode& node, int depth);

// Xerces keeps a choice or sequence of n particles as a chain of n - 1 binary nodes; the chain
// is flattened back to the list it was written as (a group nested in one of its own kind without
// a repeat reads the same). Mixed content comes as a choice under '*' with a #PCDATA leaf.
void Flatten(const ContentSpecNode& node, int type, std::vector<Particle>& items, int depth) {
    if (depth > kDeepestModel) throw TooDeep{};
    for (const ContentSpecNode* part : {node.getFirst(), node.getSecond()}) {
        if (!part) continue;
        if (part->getType() == type)
            Flatten(*part, type, items, depth + 1);
        else
            items.push_back(ParticleOf(*part, depth + 1));
    }
}

Particle ParticleOf(const ContentSpecNode& node, int depth) {
    if (depth > kDeepestModel) throw TooDeep{};
    const auto repeat = [&](char mark) {
        Particle particle = ParticleOf(*node.getFirst(), depth + 1);
        if (particle.repeat == '1') {
            particle.repeat = mark;
            return particle;
        }
        Particle group{Particle::Kind::Sequence, {}, {std::move(particle)}, mark};
        return group;
    };
    switch (node.getType() & 0x0f) {
    case ContentSpecNode::ZeroOrOne:
        return repeat('?');
    case ContentSpecNode::ZeroOrMore:
        return repeat('*');
    case ContentSpecNode::OneOrMore:
        return repeat('+');
    case ContentSpecNode::Choice:
    case ContentSpecNode::Sequence: {
        const bool choice = (node.getType() & 0x0f) == ContentSpecNode::Choice;
        Particle group{choice ? Particle::Kind::Choice : Particle::Kind::Sequence, {}, {}, '1'};
        Flatten(node, node.getType(), group.items, depth);
        return group;
    }
    default: {
        const xercesc::QName* name = node.getElement();
        return Particle{Particle::Kind::Name, name ? Utf8(name->getRawName()) : "", {}, '1'};
    }
    }
}

void CollectNames(const Particle& particle, std::vector<std::string>& names) {
    if (particle.kind == Particle::Kind::Name) {
        if (particle.name != "#PCDATA" && !particle.name.empty()) names.push_back(particle.name);
        return;
    }
    for (const Particle& item : particle.items)
        CollectNames(item, names);
}

std::vector<std::string> Words(const XMLCh* text) {
    std::vector<std::string> words;
    const std::string all = Utf8(text);
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find(' ', at), all.size());
        if (end > at) words.push_back(all.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

Attribute AttributeOf(const XMLAttDef& definition) {
    Attribute attribute;
    attribute.name = Utf8(definition.getFullName());
    attribute.type =
        static_cast<Attribute::Type>(std::min<int>(definition.getType(), XMLAttDef::Enumeration));
    if (definition.getEnumeration()) attribute.values = Words(definition.getEnumeration());
    switch (definition.getDefaultType()) {
    case XMLAttDef::Fixed:
    case XMLAttDef::Required_And_Fixed:
        attribute.presence = Attribute::Presence::Fixed;
        break;
    case XMLAttDef::Required:
        attribute.presence = Attribute::Presence::Required;
        break;
    case XMLAttDef::Implied:
        attribute.presence = Attribute::Presence::Implied;
        break;
    default:
        attribute.presence = Attribute::Presence::Default;
        break;
    }
    if (definition.getValue()) attribute.value = Utf8(definition.getValue());
    return attribute;
}

Element ElementOf(const xercesc::DTDElementDecl& declaration) {
    Element element;
    element.name = Utf8(declaration.getFullName());
    switch (declaration.getModelType()) {
    case xercesc::DTDElementDecl::Empty:
        element.content = Element::Content::Empty;
        break;
    case xercesc::DTDElementDecl::Any:
        element.content = Element::Content::Any;
        break;
    case xercesc::DTDElementDecl::Mixed_Simple:
        element.content = Element::Content::Mixed;
        if (declaration.getContentSpec())
            CollectNames(ParticleOf(*declaration.getContentSpec(), 0), element.mixed);
        break;
    default:
        element.content = Element::Content::Children;
        if (declaration.getContentSpec())
            element.model = ParticleOf(*declaration.getContentSpec(), 0);
    }
    if (declaration.hasAttDefs()) {
        xercesc::XMLAttDefList& list = declaration.getAttDefList();
        for (XMLSize_t i = 0; i < list.getAttDefCount(); ++i)
            element.attributes.push_back(AttributeOf(list.getAttDef(i)));
        std::sort(element.attributes.begin(), element.attributes.end(),
                  [](const Attribute& a, const Attribute& b) { return a.name < b.name; });
    }
    return element;
}

CBasicString<WideChar> FolderOf(CBasicStringView<WideChar> path) {
    const auto slash =
        path.find_last_of(CBasicString<WideChar>{WIDE('/'), platform::kPathSeparator});
    return slash == CBasicStringView<WideChar>::npos
               ? CBasicString<WideChar>()
               : CBasicString<WideChar>(path.substr(0, slash + 1));
}

} // namespace

bool Read(CBasicStringView<WideChar> path, Declarations& declarations, std::string& problem) {
    declarations = {};
    if (!CXercesIO::StartEngine()) return problem = "the XML engine cannot start", false;
    try {
        xercesc::SAXParser parser;
        FirstError errors;
        entity_policy::Resolver resolver(FolderOf(path), entity_policy::Missing::Reported);
        parser.setErrorHandler(&errors);
        parser.setEntityResolver(&resolver);
        parser.setDisableDefaultEntityResolution(true);
        parser.setSecurityManager(entity_policy::ExpansionLimit());
        const CBasicString<WideChar> terminated(path);
        xercesc::LocalFileInputSource source(xerces_text::Terminated(terminated));
        xercesc::Grammar* grammar = nullptr;
        try {
            grammar = parser.loadGrammar(source, xercesc::Grammar::DTDGrammarType);
        } catch (const xercesc::SAXParseException&) {
        }
        if (!errors.problem.empty() || !grammar) {
            problem = errors.problem.empty() ? "not a DTD" : errors.problem;
            return false;
        }
        const auto& dtd = static_cast<const xercesc::DTDGrammar&>(*grammar);
        auto elements = dtd.getElemEnumerator();
        while (elements.hasMoreElements()) {
            const xercesc::DTDElementDecl& element = elements.nextElement();
            if (element.getCreateReason() == xercesc::XMLElementDecl::Declared)
                declarations.elements.push_back(ElementOf(element));
        }
        std::sort(declarations.elements.begin(), declarations.elements.end(),
                  [](const Element& a, const Element& b) { return a.name < b.name; });
        auto entities = dtd.getEntityEnumerator();
        while (entities.hasMoreElements()) {
            const xercesc::DTDEntityDecl& entity = entities.nextElement();
            if (!entity.getIsParameter() && !entity.getIsSpecialChar())
                declarations.generalEntities = true;
        }
        declarations.notations = dtd.getNotationEnumerator().hasMoreElements();
        return true;
    } catch (const xercesc::XMLException& exception) {
        problem = Utf8(exception.getMessage());
    } catch (const TooDeep&) {
        problem = "a content model nests deeper than " + std::to_string(kDeepestModel) + " levels";
    }
    return false;
}

} // namespace classxml::dtd_declarations
