#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "classxml/DatabaseTypes.h"
#include "classxml/archive/engines/ArchiveWriter.h"
#include "classxml/archive/engines/DomWriter.h"
#include "classxml/platform/Export.h"

namespace classxml {
class StreamWriter;
}

namespace classxml::archive_detail {

class WideText;

// The archive's writer on the stream engine: the same calls as DomWriter, the same
// document, written straight to its destination as the calls come. The first write that fails
// is kept, with the member's path; later writes are skipped and the destination is left as it
// was.
class CLASSXML_API StreamEngineWriter : public ArchiveWriter {
public:
    static constexpr Engine kEngine = Engine::Stream;
    static constexpr std::size_t kWriter = 1; // its place in a registered type's save functions

    StreamEngineWriter(Destination destination, std::string_view rootName,
                       const SaveOptions& options);
    ~StreamEngineWriter() override;
    StreamEngineWriter(const StreamEngineWriter&) = delete;
    StreamEngineWriter& operator=(const StreamEngineWriter&) = delete;

    void BeginClass(std::string_view elementName, std::string_view variableName,
                    std::size_t index = 0, Attribute attribute = {}, Attribute second = {});
    void BeginSequence(std::string_view name, std::string_view kind, std::string_view itemType,
                       std::size_t index = 0);
    void BeginMap(std::string_view name, std::string_view keyType, std::string_view valueType,
                  std::size_t index = 0);
    void End();
    // A binary member in its transport form (Bytes.h), its base64 written a piece at a time.
    void WriteBytes(std::string_view name, std::size_t index, std::span<const std::byte> bytes);

    // Completes the document at its destination.
    Result Finish();

private:
    void PutNumber(std::string_view name, std::string_view type, const Number& value) override;
    void PutText(std::string_view name, std::string_view type, CBasicStringView<WideChar> text,
                 bool enumerator) override;
    template <class Value>
    void Put(std::string_view name, std::string_view type, Value value);
    bool NameAllowed(std::string_view name, const WideText& element);
    void Opened(bool opened, std::string_view name, std::size_t index);

    std::string* m_text;   // the caller's string, given the document once it is complete
    std::string m_written; // the document as it is written, when it goes to a string
    std::unique_ptr<StreamWriter> m_out;
    std::string m_destinationText; // for the message of a failed save
    std::string m_rootName;        // the path's first step
    bool m_folderMissing = false;  // said by the Result, without the output's own complaint
};

} // namespace classxml::archive_detail
