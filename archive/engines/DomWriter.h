#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/archive/SaveOptions.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/engines/ArchiveWriter.h"

namespace classxml::archive_detail {

// Builds one document through the handle: the root class element, class elements with their
// variable names, container elements and property elements, each by the handle's own writer.
// The first write that fails is kept, with the member's path, and later writes are skipped.
class CLASSXML_API DomWriter : public ArchiveWriter {
public:
    static constexpr Engine kEngine = Engine::Dom;
    static constexpr std::size_t kWriter = 0; // its place in a registered type's save functions

    DomWriter(Destination destination, std::string_view rootName, const SaveOptions& options);
    ~DomWriter() override;
    DomWriter(const DomWriter&) = delete;
    DomWriter& operator=(const DomWriter&) = delete;

    // A class element (`variableName` empty for a container's item), with the attributes named
    // (`attribute`, `second`) besides; writes go into it until End.
    void BeginClass(std::string_view elementName, std::string_view variableName,
                    std::size_t index = 0, Attribute attribute = {}, Attribute second = {});
    // A container element of `kind` ("vector", "list" or "set").
    void BeginSequence(std::string_view name, std::string_view kind, std::string_view itemType,
                       std::size_t index = 0);
    void BeginMap(std::string_view name, std::string_view keyType, std::string_view valueType,
                  std::size_t index = 0);
    void End();
    // A binary member in its transport form (Bytes.h).
    void WriteBytes(std::string_view name, std::size_t index, std::span<const std::byte> bytes);

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
    std::optional<std::string> Text();

    Destination m_destination;
    std::string m_rootName; // the path's first step
    bool m_indented;
    CXMLClassReaderWriter m_root;
    std::vector<CXMLClassReaderWriter> m_open; // the root, then each element begun
};

} // namespace classxml::archive_detail
