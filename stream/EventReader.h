#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

#include "classxml/BasicString.h"
#include "classxml/stream/StreamReader.h"

namespace classxml::stream_detail {

// One thing the scanner reported, as the stream reader hands it on. Names and attributes stay
// where the scanner keeps them, and are looked at only when they are asked for: an element's
// name in its declaration, valid for the whole document; a start tag's attributes in the
// scanner's list, valid until it scans the next start tag, which it does only once the event
// has been taken (one start tag per step).
struct Event {
    enum class Kind { StartElement, Text, EndElement };
    struct Attribute {
        const XMLCh* name = nullptr;
        const XMLCh* value = nullptr;
    };

    // The attribute at `index`, below attributeCount. The first few are kept as they are taken
    // from the scanner's list, in order: an element is often asked for several, and class XML
    // elements have one to three.
    Attribute AttributeAt(std::size_t index) const {
        if (index >= kTaken) return Take(index);
        for (; taken <= index; ++taken)
            firstAttributes[taken] = Take(taken);
        return firstAttributes[index];
    }

    static constexpr std::size_t kTaken = 4;
    Kind kind = Kind::Text;
    // Of an element, which lasts the document; its name is asked of the reader (NameOf), as
    // an end tag's seldom is.
    const xercesc::XMLElementDecl* element = nullptr;
    const xercesc::RefVectorOf<xercesc::XMLAttr>* attributes = nullptr; // of a start tag
    std::size_t attributeCount = 0;
    mutable std::size_t taken = 0; // of the first attributes, into firstAttributes
    mutable std::array<Attribute, kTaken> firstAttributes;
    // Character data, CDATA sections included: a vector, so that handing it on is a swap of
    // three pointers.
    std::vector<WideChar> text;

private:
    Attribute Take(std::size_t index) const {
        const xercesc::XMLAttr* attribute = attributes->elementAt(index);
        return {attribute->getName(), attribute->getValue()};
    }
};

// Xerces' SAX2 reader with its scanner's document events taken straight into a queue of
// events, without the SAX2 objects in between and without copying names or attributes. The
// queue's storage is reused, so that reading a document of any size takes the memory of its
// largest text, not of the document; and a text need not be held at all, where its consumer
// takes it as it comes (SendText).
// Character data that follows character data (CDATA sections, ignorable white space, the
// expansion of entity references) joins the event before it, up to kTextPiece units: a longer
// text comes as several events, so that reading a document of any texts takes bounded memory.
// What the DOCTYPE says beyond the root's name.
struct DocType {
    CBasicString<WideChar> publicId, systemId;
    bool internalSubset = false;
};

class EventReader : public xercesc::SAX2XMLReaderImpl {
public:
    // The scanner hands over character data in pieces of at most this many code units; a
    // CDATA section comes whole.
    static constexpr std::size_t kTextPiece = 64 * 1024;

    explicit EventReader(xercesc::MemoryManager* memory);

    // Reads with Xerces' scanner for well-formedness alone, the fastest, or the scanner that
    // validates. Either reports character data in pieces and the DOCTYPE's declarations.
    void ChooseScanner(bool wellFormednessOnly);

    // From now on, character data inside elements at `depth` (1 for the root's own text; 0 for
    // any depth) goes to `pieces` as it is scanned, and all other character data is dropped;
    // with null `pieces` all of it is dropped. Data that follows events still queued becomes a
    // Text event all the same, so that the consumer meets everything in document order.
    void SendText(TextPieces* pieces, std::size_t depth) {
        m_sending = true;
        m_pieces = pieces;
        m_piecesDepth = depth;
    }
    // Character data becomes Text events again.
    void QueueText() { m_sending = false; }

    // The events queued and not yet taken, oldest first: all of them (HasEvents), or those that
    // are complete (HasReady). A text is complete once something other than text follows it,
    // or the document ends; MakeReady completes it where the scan stopped.
    bool HasEvents() const { return m_head < m_count; }
    bool HasReady() const { return m_head < m_ready; }
    void MakeReady() { m_ready = m_count; }
    Event& Front() { return m_events[m_head]; }
    void PopFront() {
        if (++m_head == m_count) m_head = m_ready = m_count = 0; // all taken: storage reused
    }
    // An element's name and its length, kept by its declaration: a document's elements have
    // few names, and the scanner keeps one declaration for each for the whole document.
    struct KnownName {
        const xercesc::XMLElementDecl* element = nullptr;
        const XMLCh* name = nullptr;
        std::size_t length = 0;
        std::string utf8; // converted when first asked for
        bool converted = false;
    };
    // The name of an element, with its length.
    KnownName& NameOf(const xercesc::XMLElementDecl& element) {
        const auto slot = reinterpret_cast<std::uintptr_t>(&element) / alignof(std::max_align_t);
        KnownName& known = m_knownNames[slot % m_knownNames.size()];
        if (known.element != &element) {
            const XMLCh* name = element.getFullName();
            known.element = &element;
            known.name = name;
            known.length = xercesc::XMLString::stringLen(name);
            known.converted = false;
        }
        return known;
    }
    // Whether the scanner has reached the end of the document.
    bool Ended() const { return m_ended; }
    // Where the scanner stands, once the document has started.
    const xercesc::Locator* DocumentLocator() const { return m_locatorCatcher.locator; }

    void startDocument() override;
    void endDocument() override;
    // The handlers of the scanner's events, inline: they run once per event.
    void startElement(const xercesc::XMLElementDecl& element, const unsigned int,
                      const XMLCh* const, const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                      const XMLSize_t attributeCount, const bool isEmpty, const bool) override {
        Event& event = PushElement(Event::Kind::StartElement, element);
        event.attributes = &attributes;
        event.attributeCount = attributeCount;
        if (isEmpty) // the scanner reports no end of an empty-element tag
            PushElement(Event::Kind::EndElement, element);
        else
            ++m_depth;
    }
    void endElement(const xercesc::XMLElementDecl& element, const unsigned int, const bool,
                    const XMLCh* const) override {
        PushElement(Event::Kind::EndElement, element);
        --m_depth;
    }
    void docCharacters(const XMLCh* const characters, const XMLSize_t length, const bool) override {
        Characters(characters, length);
    }
    void ignorableWhitespace(const XMLCh* const characters, const XMLSize_t length,
                             const bool) override {
        Characters(characters, length);
    }
    void XMLDecl(const XMLCh* const version, const XMLCh* const encoding,
                 const XMLCh* const standalone, const XMLCh* const actualEncoding) override;
    void doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* const publicId,
                     const XMLCh* const systemId, const bool hasIntSubset,
                     const bool hasExtSubset) override;
    // The root element the DOCTYPE names, once the prolog has been read; null without one.
    const XMLCh* DocTypeName() const { return m_docTypeName; }
    const stream_detail::DocType& DocType() const { return m_docType; }
    void docComment(const XMLCh* const) override {}
    void docPI(const XMLCh* const, const XMLCh* const) override {}

private:
    // The reader tells its content handler where the scanner stands; that is all it is for.
    // Its destructor is defined once, in EventReader.cpp: an inline one gives each file its
    // own copy of the thunks, which the Windows linker refuses under link-time optimisation.
    struct LocatorCatcher : xercesc::DefaultHandler {
        ~LocatorCatcher() override;
        void setDocumentLocator(const xercesc::Locator* const where) override { locator = where; }
        const xercesc::Locator* locator = nullptr;
    };

    Event& Push(Event::Kind kind) {
        if (m_count == m_events.size()) m_events.emplace_back();
        Event& event = m_events[m_count++];
        event.kind = kind;
        event.taken = 0;
        return event;
    }
    // An element's start or end, which completes the events before it.
    Event& PushElement(Event::Kind kind, const xercesc::XMLElementDecl& element) {
        Event& event = Push(kind);
        event.element = &element;
        event.attributes = nullptr;
        event.attributeCount = 0;
        m_ready = m_count;
        return event;
    }
    void Characters(const XMLCh* characters, XMLSize_t length) {
        if (m_depth == 0) return; // white space around the root element
        if (m_sending && !HasEvents()) {
            if (m_pieces && (m_piecesDepth == 0 || m_piecesDepth == m_depth))
                m_pieces->Take({reinterpret_cast<const WideChar*>(characters), length});
            return;
        }
        Event* event = HasEvents() ? &m_events[m_count - 1] : nullptr;
        if (!event || event->kind != Event::Kind::Text || m_ready == m_count) {
            event = &Push(Event::Kind::Text); // else it joins the text before
            event->text.clear();
        }
        event->text.insert(event->text.end(), characters, characters + length);
        // A long text comes in pieces, never between the halves of a surrogate pair.
        if (event->text.size() >= kTextPiece && (event->text.back() & 0xFC00) != 0xD800)
            m_ready = m_count;
    }

    xercesc::MemoryManager* m_memory;
    LocatorCatcher m_locatorCatcher;
    std::vector<Event> m_events; // [m_head, m_count) are queued
    std::size_t m_head = 0;
    std::size_t m_ready = 0; // [m_head, m_ready) are complete
    std::size_t m_count = 0;
    std::size_t m_depth = 0; // of the scanner, ahead of the consumer by the events queued
    bool m_ended = false;
    std::array<KnownName, 16> m_knownNames;
    const XMLCh* m_docTypeName = nullptr; // in its declaration, which lasts the document
    stream_detail::DocType m_docType;
    bool m_sending = false; // character data goes to m_pieces, not into events
    TextPieces* m_pieces = nullptr;
    std::size_t m_piecesDepth = 0;
};

} // namespace classxml::stream_detail
