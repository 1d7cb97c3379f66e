#pragma once

#include <charconv>
#include <cstddef>

#include <xercesc/dom/DOM.hpp>

#include "classxml/BasicString.h"

// The plain sides' building blocks: what a program using Xerces directly would write for a
// property element.
namespace classxml::bench {

// Number text as a plain program would make it: std::to_chars, widened to XMLCh.
struct PlainNumber {
    XMLCh text[32];
    template <class Value, class... Format>
    explicit PlainNumber(Value value, Format... format) {
        char narrow[32];
        const char* end = std::to_chars(narrow, narrow + 31, value, format...).ptr;
        std::size_t i = 0;
        for (const char* c = narrow; c != end; ++c)
            text[i++] = static_cast<XMLCh>(*c);
        text[i] = 0;
    }
};

// <name keytype="type">text</name> as the last child of `parent`.
inline xercesc::DOMElement* AddProperty(xercesc::DOMDocument* document, xercesc::DOMElement* parent,
                                        const XMLCh* name, const XMLCh* type, const XMLCh* text) {
    xercesc::DOMElement* element = document->createElement(name);
    element->setAttribute(WIDE("keytype"), type);
    if (text && *text) element->appendChild(document->createTextNode(text));
    parent->appendChild(element);
    return element;
}

} // namespace classxml::bench
