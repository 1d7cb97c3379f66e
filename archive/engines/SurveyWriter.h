#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "classxml/archive/Engine.h"
#include "classxml/archive/engines/ArchiveWriter.h"

namespace classxml::archive_detail {

// The writer of a pass that writes nothing: it walks an object as a save does, elements opened
// and closed and pointees deferred alike, for what a save must know before it writes a byte
// (which objects plain pointers point to).
class SurveyWriter : public ArchiveWriter {
public:
    static constexpr Engine kEngine = Engine::Stream;
    static constexpr std::size_t kWriter = 2; // its place in a registered type's save functions

    explicit SurveyWriter(std::string_view rootName) { m_path.Enter(rootName); }

    void BeginClass(std::string_view elementName, std::string_view variableName,
                    std::size_t index = 0, Attribute = {}, Attribute = {}) {
        m_path.Enter(variableName.empty() ? elementName : variableName, index);
    }
    void BeginSequence(std::string_view name, std::string_view, std::string_view,
                       std::size_t index = 0) {
        m_path.Enter(name, index);
    }
    void BeginMap(std::string_view name, std::string_view, std::string_view,
                  std::size_t index = 0) {
        m_path.Enter(name, index);
    }
    void End() { m_path.Leave(); }
    void WriteBytes(std::string_view, std::size_t, std::span<const std::byte>) {}

private:
    void PutNumber(std::string_view, std::string_view, const Number&) override {}
    void PutText(std::string_view, std::string_view, CBasicStringView<WideChar>, bool) override {}
};

} // namespace classxml::archive_detail
