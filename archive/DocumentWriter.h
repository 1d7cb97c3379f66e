#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "archive/Archived.h"
#include "archive/ValueWriter.h"

namespace classxml {

/// @ingroup archive
/// The DOCTYPE a saved document names; none when both ids are empty.
struct DocumentType {
    std::string publicId; ///< UTF-8
    std::string systemId; ///< UTF-8; the DTD's path or name, looked up as the engine's rule says
};

namespace archive_detail {

// An attribute a class element carries besides varname, in UTF-8.
using Attribute = std::pair<std::string_view, std::string_view>;

// Where a document is saved: the file at `path`, or `text` when it is given.
struct Destination {
    std::string_view path;
    std::string* text = nullptr;
};

// Builds one document through the handle: the root class element, class elements with their
// variable names, container elements and property elements, each by the handle's own writer.
// The first write that fails is kept, with the member's path, and later writes are skipped.
class CLASSXML_API DocumentWriter : public ValueWriter {
public:
    static constexpr Engine kEngine = Engine::Dom;

    DocumentWriter(Destination destination, std::string_view rootName, const DocumentType& doctype);
    ~DocumentWriter() override;
    DocumentWriter(const DocumentWriter&) = delete;
    DocumentWriter& operator=(const DocumentWriter&) = delete;

    // A class element (`variableName` empty for a container's item), with one more attribute
    // when `attribute` names one; writes go into it until End.
    void BeginClass(std::string_view elementName, std::string_view variableName,
                    std::size_t index = 0, Attribute attribute = {});
    // A container element of `kind` ("vector", "list" or "set").
    void BeginSequence(std::string_view name, std::string_view kind, std::string_view itemType,
                       std::size_t index = 0);
    void BeginMap(std::string_view name, std::string_view keyType, std::string_view valueType,
                  std::size_t index = 0);
    void End();

    // Saves the document to its destination.
    Result Finish();

private:
    void PutNumber(std::string_view name, std::string_view type, const Number& value) override;
    void PutText(std::string_view name, std::string_view type, CBasicStringView<WideChar> text,
                 bool enumerator) override;
    template <class Make>
    CXMLClassReaderWriter Made(std::string_view name, Make make);
    template <class Writer>
    void Put(std::string_view name, std::string_view type, Writer add);
    void Open(CXMLClassReaderWriter element, std::string_view name, std::size_t index);

    Destination m_destination;
    std::string m_rootName; // the path's first step
    CXMLClassReaderWriter m_root;
    std::vector<CXMLClassReaderWriter> m_open; // the root, then each element begun
};

} // namespace archive_detail
} // namespace classxml
