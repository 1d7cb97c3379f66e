#include "classxml/xmlio/DocumentInput.h"

#include <algorithm>
#include <cstring>

#include <xercesc/util/BinInputStream.hpp>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplace.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/DoctypeOverride.h"
#include "classxml/xmlio/XercesText.h"

namespace classxml::document_input {
namespace {

thread_local int t_lastOpenError = 0;

} // namespace

// The head first, then the descriptor from where the head ended.
class Source::Stream : public xercesc::BinInputStream {
public:
    explicit Stream(const Source& source) : m_source(source) {}

    XMLFilePos curPos() const override { return m_position; }
    const XMLCh* getContentType() const override { return nullptr; }

    // Every request is filled, up to the end of the document: the parser decodes its bytes a
    // request at a time, and where an ill-formed sequence is reported depends on where those
    // requests begin, which is then the same for a file and a pipe, however the head was read.
    XMLSize_t readBytes(XMLByte* const toFill, const XMLSize_t maxToRead) override {
        XMLSize_t filled = 0;
        while (filled < maxToRead) {
            const XMLSize_t got = ReadSome(toFill + filled, maxToRead - filled);
            if (got == 0) break;
            filled += got;
        }
        return filled;
    }

private:
    XMLSize_t ReadSome(XMLByte* const toFill, const XMLSize_t maxToRead) {
        const std::vector<unsigned char>& head = m_source.m_head;
        if (m_position < head.size()) {
            const std::size_t count = std::min<std::size_t>(maxToRead, head.size() - m_position);
            std::memcpy(toFill, head.data() + m_position, count);
            m_position += count;
            return count;
        }
        if (m_source.m_ended) return 0;
        int error = 0;
        const std::int64_t got =
            m_source.m_fromStart
                ? platform::ReadFileAt(m_source.m_descriptor, std::int64_t(m_position), toFill,
                                       maxToRead, error)
                : platform::ReadFile(m_source.m_descriptor, toFill, maxToRead, error);
        if (got <= 0) return 0; // the end, or an error the parser then takes for the end
        m_source.m_budget.Arrived(std::uint64_t(got));
        m_position += std::size_t(got);
        return XMLSize_t(got);
    }

    const Source& m_source;
    std::size_t m_position = 0;
};

Source::Source(const CBasicString<WideChar>& path, parse_limits::Budget& budget,
               xercesc::MemoryManager* memory)
    : LocalFileInputSource(xerces_text::Terminated(path), memory), m_budget(budget) {
    platform::RecoverInterruptedSave(path); // a save a crash cut short is undone first
    m_descriptor = platform::OpenForReading(path, m_openError);
    SetLastOpenError(m_openError);
}

Source::Source(parse_limits::Budget& budget, xercesc::MemoryManager* memory)
    : LocalFileInputSource(reinterpret_cast<const XMLCh*>(WIDE("standard input")), memory),
      m_descriptor(platform::StandardInput()), m_ownsDescriptor(false), m_budget(budget) {
    setSystemId(reinterpret_cast<const XMLCh*>(WIDE("standard input")));
    SetLastOpenError(0);
}

Source::~Source() {
    if (m_descriptor >= 0 && m_ownsDescriptor) platform::CloseFile(m_descriptor);
}

const std::vector<unsigned char>& Source::Head(std::size_t count) {
    while (m_descriptor >= 0 && !m_ended && m_head.size() < count) {
        const std::size_t had = m_head.size();
        m_head.resize(count);
        int error = 0;
        const std::int64_t got =
            platform::ReadFile(m_descriptor, m_head.data() + had, count - had, error);
        m_head.resize(had + std::size_t(std::max<std::int64_t>(got, 0)));
        if (got <= 0) m_ended = true;
        m_budget.Arrived(m_head.size() - had);
    }
    return m_head;
}

bool Source::NameDtd(std::string_view systemId) {
    constexpr std::size_t kMostHead = 1 << 20;
    for (std::size_t count = 4096;; count *= 2) {
        Head(count);
        m_edits.clear();
        const auto outcome = doctype_override::NameDtd(m_head, m_ended, systemId, m_edits);
        if (outcome != doctype_override::Outcome::NeedMore)
            return outcome == doctype_override::Outcome::Rewritten;
        if (count >= kMostHead) return false;
    }
}

// The head read before goes first, and the rest of the request is read on from the file, so that
// a file is read in the same pieces however much of it the head held.
std::size_t Source::ReadNext(unsigned char* into, std::size_t capacity) {
    std::size_t count = 0;
    if (m_readNext < m_head.size()) {
        count = std::min<std::size_t>(capacity, m_head.size() - std::size_t(m_readNext));
        std::memcpy(into, m_head.data() + m_readNext, count);
        m_readNext += count;
        if (m_readNext == m_head.size()) std::vector<unsigned char>().swap(m_head); // all given
    }
    if (count == capacity || m_ended || m_descriptor < 0) return count;
    int error = 0;
    const std::int64_t got =
        platform::ReadFile(m_descriptor, into + count, capacity - count, error);
    if (got <= 0) return count; // the end, or an error taken for it
    m_budget.Arrived(std::uint64_t(got));
    m_readNext += std::uint64_t(got);
    return count + std::size_t(got);
}

std::unique_ptr<Source> Source::Restarted(parse_limits::Budget& budget,
                                          xercesc::MemoryManager* memory) {
    if (m_descriptor < 0 || platform::KindOf(m_descriptor) != platform::FileKind::Regular)
        return nullptr;
    auto restarted = std::unique_ptr<Source>(new Source(budget, memory));
    restarted->setSystemId(getSystemId());
    restarted->m_descriptor = m_descriptor;
    restarted->m_ownsDescriptor = m_ownsDescriptor;
    restarted->m_fromStart = true;
    m_ownsDescriptor = false;
    return restarted;
}

xercesc::BinInputStream* Source::makeStream() const {
    // Opening the path again would read what the first open refused (a folder's read fails
    // inside the parser's reader, which then leaks); no stream is how Xerces is told that the
    // document cannot be opened.
    if (m_descriptor < 0) return nullptr;
    return new (getMemoryManager()) Stream(*this);
}

std::string OpenErrorText(CBasicStringView<WideChar> path, int error) {
    const CBasicString<char8_t> utf8 = platform::Utf16ToUtf8(path);
    return "cannot open \"" + std::string(utf8.begin(), utf8.end()) +
           "\": " + platform::ErrorText(error);
}

int LastOpenError() { return t_lastOpenError; }

void SetLastOpenError(int error) { t_lastOpenError = error; }

} // namespace classxml::document_input
