#include "classxml/XMLClassReaderWriter/Extraction.h"

#include "classxml/basicio/BasicFileException.h"
#include "classxml/platform/FileReplace.h"
#include "classxml/platform/Uuid.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::extraction {
namespace {

constexpr View kTransportStart = WIDE("<FileTransport");
constexpr View kContentStart = WIDE("<fileContent");
constexpr View kContentEnd = WIDE("</fileContent>");
constexpr View kTransportEnd = WIDE("</FileTransport");
// "</FileTransport" and the character that closes it, taken to be ">" without looking.
constexpr std::int64_t kTransportEndLength = 16;

// The path of a side file as the text of an element.
CBasicString<WideChar> AsElementText(View path) {
    CBasicString<WideChar> text;
    xml_text::Escaped<xml_text::Escaping::Content>(
        path.data(), path.data() + path.size(),
        [&](const WideChar* from, const WideChar* to) { text.append(from, to); },
        [&](std::string_view reference) { text.append(reference.begin(), reference.end()); });
    return text;
}

[[noreturn]] void Refuse(const CBasicString<WideChar>& path, int error, const WideChar* operation) {
    ThrowFileError(path, error, operation, CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
}

} // namespace

Extraction::Extraction(const CBasicString<WideChar>& path, const Localization& localization,
                       RemoveFile removeFile)
    : m_path(path), m_localization(localization), m_removeFile(std::move(removeFile)),
      m_tags(m_input, localization) {
    platform::RecoverInterruptedSave(m_path); // a save a crash cut short is undone first
    m_input.Open(m_path, CVFile::kReadExisting);
    m_directory = m_path.substr(0, m_path.size() - m_input.GetFileName().size());
}

Extraction::~Extraction() {
    if (m_finished || m_rewrittenPath.empty()) return;
    try {
        m_rewritten.Close();
    } catch (const CBasicFileException&) { // the unwritten rest is of no use either
    }
    m_removeFile(m_rewrittenPath);
}

std::int64_t Extraction::Find(View text, std::int64_t start) {
    return m_input.FindStringPositionInFile(text, m_localization, true, FILE_CHAR_POS(start)).get();
}

// A "<fileContent" that is the start of a longer name ("<fileContentType") is passed over. A
// search from -1, which a missing "</FileTransport" leaves, is refused by CVFile rather than
// restarted at 0.
std::int64_t Extraction::NextContentTag() {
    const std::int64_t transport = Find(kTransportStart, m_search);
    if (transport < 0) return -1;
    std::int64_t content = Find(kContentStart, transport);
    while (content >= 0 && !m_tags.NameEndsAt(content + std::int64_t(kContentStart.size())))
        content = Find(kContentStart, content + 1);
    return content;
}

void Extraction::Create(CVFile& file, const CBasicString<WideChar>& name) {
    if (const int error = platform::CreateFileLike(name, m_path)) Refuse(name, error, WIDE("Open"));
    file.Open(name, CVFile::kCreateForWriting);
}

// The content goes into its side file up to the first markup, which must be "</fileContent>"
// for it to be a block.
Extraction::Copied Extraction::CopyContentAside(std::int64_t tagEnd) {
    Copied copied;
    platform::NewUuidText(m_sideUuid);
    copied.sidePath = m_directory + m_sideUuid + WIDE(".base64");
    CVFile side;
    Create(side, copied.sidePath);
    copied.contentEnd = side.AppendFileContentUpTo(m_input, FILE_CHAR_POS(tagEnd + 1), '<').get();
    side.Close();
    copied.isBlock =
        copied.contentEnd >= 0 && m_input.IsStringAtPosition(FILE_CHAR_POS(copied.contentEnd), true,
                                                             kContentEnd, m_localization);
    return copied;
}

// Where the content from `from` ends, when it names a side file as a run of the extraction
// wrote it: a path ending in "<UUID>.base64", which holds characters base64 has not; -1 when it
// does not. Only the first characters are read: a path is shorter than any block.
std::int64_t Extraction::SidePathEnd(std::int64_t from) {
    constexpr std::int64_t kMostPath = 32 * 1024;
    const View ending = WIDE(".base64");
    constexpr std::size_t kUuid = 36;
    CBasicString<WideChar> start;
    m_input.GetStringFromFile(start, FILE_CHAR_POS(from), FILE_CHAR_POS(from + kMostPath));
    const std::size_t markup = start.find(WideChar('<'));
    if (markup == CBasicString<WideChar>::npos || markup < kUuid + ending.size()) return -1;
    const View content = View(start).substr(0, markup);
    if (!content.ends_with(ending)) return -1;
    if (!platform::IsUuidText(content.substr(content.size() - ending.size() - kUuid, kUuid)))
        return -1;
    return from + std::int64_t(markup);
}

void Extraction::Rewrite(std::int64_t tagEnd, const Copied& copied) {
    const std::int64_t transportEnd = Find(kTransportEnd, copied.contentEnd); // not checked
    if (m_rewrittenPath.empty()) {
        CBasicString<WideChar> documentUuid; // empty when no UUID can be made
        platform::NewUuidText(documentUuid);
        m_rewrittenPath = m_directory + documentUuid + WIDE(".xml");
        Create(m_rewritten, m_rewrittenPath);
    }
    m_rewritten.AppendFileContent(m_input, FILE_CHAR_POS(m_copied), FILE_CHAR_POS(tagEnd + 1));
    m_rewritten.Write(View(AsElementText(copied.sidePath)));
    m_rewritten.AppendFileContent(m_input, FILE_CHAR_POS(copied.contentEnd),
                                  FILE_CHAR_POS(transportEnd + kTransportEndLength));
    m_copied = transportEnd + kTransportEndLength;
    m_search = transportEnd;
}

bool Extraction::MoveBlocks() {
    for (std::int64_t content; (content = NextContentTag()) >= 0;) {
        const std::int64_t tagEnd = m_tags.EndFrom(content);
        if (tagEnd < 0) return false;
        if (m_tags.IsEmpty(tagEnd)) { // <fileContent .../> has nothing to move
            m_search = tagEnd;
            continue;
        }
        if (const std::int64_t pathEnd = SidePathEnd(tagEnd + 1); pathEnd >= 0) {
            m_search = pathEnd; // moved by an earlier run
            continue;
        }
        const Copied copied = CopyContentAside(tagEnd);
        if (!copied.isBlock) { // markup inside: not a base64 block, and its side file goes
            m_removeFile(copied.sidePath);
            if (copied.contentEnd < 0 || Find(kContentEnd, copied.contentEnd) < 0) return false;
            m_search = copied.contentEnd;
            continue;
        }
        if (const int error = platform::SyncFileAt(copied.sidePath))
            Refuse(copied.sidePath, error, WIDE("Flush"));
        Rewrite(tagEnd, copied);
    }
    return true;
}

int Extraction::PutInPlace(CBasicString<WideChar>& rewritten) {
    m_finished = true;
    rewritten = m_rewrittenPath;
    if (m_rewrittenPath.empty()) return m_input.Close(), 0;
    const auto size = static_cast<std::int64_t>(m_input.GetSizeInCharacters().get());
    if (size > m_copied)
        m_rewritten.AppendFileContent(m_input, FILE_CHAR_POS(m_copied), FILE_CHAR_POS(size));
    m_rewritten.Close();
    m_input.Close();
    int error = 0;
    return platform::MoveOverFile(m_rewrittenPath, m_path, error) == 0 ? 0 : error;
}

} // namespace classxml::extraction
