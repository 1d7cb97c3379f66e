#pragma once

#include <type_traits>
#include <utility>

#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/internal/ReaderMgr.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/parsers/AbstractDOMParser.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/RefVectorOf.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "classxml/BasicString.h"
#include "classxml/xmlio/ParseLimits.h"

namespace classxml::parse_limits {

// Thrown from a parser's handlers to stop the parse; the parser keeps where and why.
struct LimitExceeded {};

// A Xerces parser (DOM or SAX2) whose document handlers keep the limits of a budget and refuse
// anything but white space after the root element: Xerces takes a zero character there for the
// end of the input, and would drop whatever follows it.
template <class Parser>
class Limited : public Parser {
public:
    template <class... Arguments>
    explicit Limited(Budget& budget, Arguments&&... arguments)
        : Parser(std::forward<Arguments>(arguments)...), m_budget(budget) {}

    // Notes that the parse stops where it stands, for `message`.
    void StopHere(const char* message) {
        m_stop.message.assign(message, message + std::char_traits<char>::length(message));
        if (!m_locator) return;
        m_stop.line = m_locator->getLineNumber();
        m_stop.column = m_locator->getColumnNumber();
        const XMLCh* systemId = m_locator->getSystemId();
        m_stop.systemId = systemId ? systemId : WIDE("");
    }
    bool Stopped() const { return !m_stop.message.empty(); }
    // The stop as the parser reports its own errors.
    xercesc::SAXParseException StopReport() const {
        return xercesc::SAXParseException(m_stop.message.c_str(), nullptr, m_stop.systemId.c_str(),
                                          m_stop.line, m_stop.column);
    }

    // Where the parse stands: DOM parsers know it themselves; a SAX2 reader gives it to its
    // content handler as the document starts (see stream/EventReader.h).
    void startDocument() override {
        Parser::startDocument();
        if constexpr (std::is_base_of_v<xercesc::AbstractDOMParser, Parser>)
            m_locator = this->getScanner()->getLocator();
        else
            m_locator = this->DocumentLocator();
    }
    void startElement(const xercesc::XMLElementDecl& element, const unsigned int uriId,
                      const XMLCh* const prefix,
                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                      const XMLSize_t attributeCount, const bool isEmpty,
                      const bool isRoot) override {
        if (!Budget::Allows(m_depth + 1)) Fail(kTooDeep);
        // Attribute values outgrow the input only through general entities; until one is
        // declared they are not counted. Values defaulted from the DTD are not expansion: they
        // count towards the memory the parse takes, not here.
        for (XMLSize_t i = 0; m_generalEntities && i < attributeCount; ++i) {
            const xercesc::XMLAttr* attribute = attributes.elementAt(i);
            if (attribute->getSpecified())
                Deliver(xercesc::XMLString::stringLen(attribute->getValue()));
        }
        // An empty-element tag opens and closes in one step. The DOM parsers report its end
        // through endElement, the SAX2 reader does not; either way it leaves the depth as it was.
        m_inEmptyTag = isEmpty;
        if (!isEmpty) ++m_depth;
        Parser::startElement(element, uriId, prefix, attributes, attributeCount, isEmpty, isRoot);
        m_inEmptyTag = false;
    }
    void endElement(const xercesc::XMLElementDecl& element, const unsigned int uriId,
                    const bool isRoot, const XMLCh* const prefix) override {
        if (!m_inEmptyTag) --m_depth;
        Parser::endElement(element, uriId, isRoot, prefix);
    }
    void docCharacters(const XMLCh* const characters, const XMLSize_t length,
                       const bool cdataSection) override {
        Deliver(length);
        Parser::docCharacters(characters, length, cdataSection);
    }
    void ignorableWhitespace(const XMLCh* const characters, const XMLSize_t length,
                             const bool cdataSection) override {
        Deliver(length);
        Parser::ignorableWhitespace(characters, length, cdataSection);
    }
    void docComment(const XMLCh* const comment) override {
        Deliver(xercesc::XMLString::stringLen(comment));
        Parser::docComment(comment);
    }
    void docPI(const XMLCh* const target, const XMLCh* const data) override {
        Deliver(xercesc::XMLString::stringLen(target) + xercesc::XMLString::stringLen(data));
        Parser::docPI(target, data);
    }
    void entityDecl(const xercesc::DTDEntityDecl& entity, const bool isParameterEntity,
                    const bool isIgnored) override {
        m_generalEntities = m_generalEntities || !isParameterEntity;
        Parser::entityDecl(entity, isParameterEntity, isIgnored);
    }
    void endDocument() override {
        const auto* input = dynamic_cast<const xercesc::ReaderMgr*>(m_locator);
        if (input && !input->atEOF()) Fail(kTrailingContent);
        Parser::endDocument();
    }

private:
    [[noreturn]] void Fail(const char* message) {
        StopHere(message);
        throw LimitExceeded{};
    }
    void Deliver(std::uint64_t characters) {
        if (!m_budget.Deliver(characters)) Fail(kTooExpanded);
    }

    struct Stop {
        CBasicString<XMLCh> message;
        XMLFileLoc line = 0;
        XMLFileLoc column = 0;
        CBasicString<XMLCh> systemId;
    };

    Budget& m_budget;
    const xercesc::Locator* m_locator = nullptr;
    std::size_t m_depth = 0;        // elements open
    bool m_inEmptyTag = false;      // within the report of an empty-element tag
    bool m_generalEntities = false; // the DTD declares one
    Stop m_stop;
};

} // namespace classxml::parse_limits
