#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include <xercesc/dom/DOM.hpp>

#include "classxml/BasicString.h"
#include "classxml/stream/StreamReader.h"

// A document's elements, attributes and text as one text, made from a DOM or from the stream
// reader's events, so that the two readers can be compared: the same text means the same
// elements with the same attributes (in any order) and the same character data between their
// tags (comments and processing instructions left out, entity references expanded).
namespace classxml::testing {

using TreeText = CBasicString<WideChar>;

namespace tree_text_detail {

using View = CBasicStringView<WideChar>;
using Attributes = std::vector<std::pair<TreeText, TreeText>>;

// U+0001 cannot occur in an XML 1.0 document, so it marks the parts unambiguously.
inline void Start(TreeText& tree, View name, Attributes attributes) {
    std::sort(attributes.begin(), attributes.end());
    tree += WIDE("\x01<");
    tree += name;
    for (const auto& [attribute, value] : attributes)
        tree += WIDE("\x01@") + attribute + WIDE("\x01=") + value;
}

inline void End(TreeText& tree, View name) { (tree += WIDE("\x01>")) += name; }

inline void Flush(TreeText& tree, TreeText& text) {
    if (text.empty()) return;
    tree += WIDE("\x01T") + text;
    text.clear();
}

inline View ViewOf(const XMLCh* text) {
    return text ? View(reinterpret_cast<const WideChar*>(text)) : View();
}

inline void Walk(const xercesc::DOMNode* parent, TreeText& tree, TreeText& text) {
    for (const xercesc::DOMNode* child = parent->getFirstChild(); child;
         child = child->getNextSibling()) {
        switch (child->getNodeType()) {
        case xercesc::DOMNode::ELEMENT_NODE: {
            Flush(tree, text);
            Attributes attributes;
            const xercesc::DOMNamedNodeMap* map = child->getAttributes();
            for (XMLSize_t i = 0; i < map->getLength(); ++i)
                attributes.emplace_back(ViewOf(map->item(i)->getNodeName()),
                                        ViewOf(map->item(i)->getNodeValue()));
            Start(tree, ViewOf(child->getNodeName()), std::move(attributes));
            Walk(child, tree, text);
            Flush(tree, text);
            End(tree, ViewOf(child->getNodeName()));
            break;
        }
        case xercesc::DOMNode::TEXT_NODE:
        case xercesc::DOMNode::CDATA_SECTION_NODE:
            text += ViewOf(child->getNodeValue());
            break;
        case xercesc::DOMNode::ENTITY_REFERENCE_NODE:
            Walk(child, tree, text);
            break;
        default:
            break;
        }
    }
}

} // namespace tree_text_detail

inline TreeText TreeOf(const xercesc::DOMDocument& document) {
    TreeText tree, text;
    tree_text_detail::Walk(&document, tree, text);
    return tree;
}

// Reads the rest of the document; nothing when the reader ends in an error.
inline std::optional<TreeText> TreeOf(StreamReader& reader) {
    using namespace tree_text_detail;
    TreeText tree, text;
    for (;;) {
        switch (reader.Next()) {
        case StreamReader::Event::StartElement: {
            Flush(tree, text);
            Attributes attributes;
            for (std::size_t i = 0; i < reader.AttributeCount(); ++i)
                attributes.emplace_back(reader.AttributeName(i), reader.AttributeValue(i));
            Start(tree, reader.Name(), std::move(attributes));
            break;
        }
        case StreamReader::Event::Text:
            text += reader.Text();
            break;
        case StreamReader::Event::EndElement:
            Flush(tree, text);
            End(tree, reader.Name());
            break;
        case StreamReader::Event::End:
            return tree;
        case StreamReader::Event::Error:
            return std::nullopt;
        }
    }
}

} // namespace classxml::testing
