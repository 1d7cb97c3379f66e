// Moving base64 blocks out of a class-XML file before it is parsed, so that large embedded
// files never reach the DOM parser. A text scan with CVFile; nothing here parses XML.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include "classxml/basicio/BasicFileException.h"
#include "classxml/basicio/VFile.h"
#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplace.h"
#include "classxml/platform/Uuid.h"
#include "classxml/xmlio/XmlText.h"

namespace {

using View = CXMLClassReaderWriter::View;
using Localization = boost::shared_ptr<LocalizationManager>;

constexpr View kTransportStart = WIDE("<FileTransport");
constexpr View kContentStart = WIDE("<fileContent");
constexpr View kContentEnd = WIDE("</fileContent>");
constexpr View kTransportEnd = WIDE("</FileTransport");
// "</FileTransport" and the character that closes it, taken to be ">" without looking.
constexpr std::int64_t kTransportEndLength = 16;

// A failed rename (or replace) reported through `logging`, by the runtime library's error
// number.
void LogFailedRename(int error, const View& from, const View& to,
                     const boost::shared_ptr<CLoggingFile>& logging,
                     const LoggingSourcePos& position) {
    if (!logging) return;
    const CBasicString<WideChar> opening =
        WIDE("Can't rename file: ") + CBasicString<WideChar>(from);
    if (error == 2)
        logging->LogError(opening + WIDE(" because it doesn't exist or path is wrong"), position);
    else if (error == 13)
        logging->LogError(opening + WIDE(" due to missing access rights or new file: ") +
                              CBasicString<WideChar>(to) + WIDE(" already exists"),
                          position);
    else if (error == 22)
        logging->LogError(opening +
                              WIDE(" because of wrong characters inside name or path. Check also "
                                   "the new filename: ") +
                              CBasicString<WideChar>(to),
                          position);
}

// The path of a side file as the text of an element.
CBasicString<WideChar> AsElementText(View path) {
    CBasicString<WideChar> text;
    classxml::xml_text::Escaped<classxml::xml_text::Escaping::Content>(
        path.data(), path.data() + path.size(),
        [&](const WideChar* from, const WideChar* to) { text.append(from, to); },
        [&](std::string_view reference) { text.append(reference.begin(), reference.end()); });
    return text;
}

// The next place of a text at or after a position, for positions that never go back: a search
// goes on from the place last found, so that looking for a character that is rare in a file
// costs one pass over it, not one per element.
class NextPlace {
public:
    NextPlace(CVFile& file, const Localization& localization, View text)
        : m_file(file), m_localization(localization), m_text(text) {}

    // -1 when there is none.
    std::int64_t From(std::int64_t start) {
        if (m_found >= start || m_found == kNowhere) return m_found;
        m_found =
            m_file.FindStringPositionInFile(m_text, m_localization, true, FILE_CHAR_POS(start))
                .get();
        if (m_found < 0) m_found = kNowhere;
        return m_found;
    }

private:
    static constexpr std::int64_t kNotYet = -2;
    static constexpr std::int64_t kNowhere = -1;
    CVFile& m_file;
    const Localization& m_localization;
    View m_text;
    std::int64_t m_found = kNotYet;
};

// Start tags in the scanned file: whether "<fileContent" at a place is that element's name and
// not the start of a longer one, where the tag ends (a ">" inside a quoted attribute value does
// not end it), and whether it is an empty-element tag.
class StartTags {
public:
    StartTags(CVFile& file, const Localization& localization)
        : m_file(file), m_localization(localization), m_end(file, localization, WIDE(">")),
          m_double(file, localization, WIDE("\"")), m_single(file, localization, WIDE("'")) {}

    // The end of the file ends a name too: there, the tag is unfinished, not another one.
    bool NameEndsAt(std::int64_t position) {
        if (position >= std::int64_t(m_file.GetSizeInCharacters().get())) return true;
        for (const View follower :
             {WIDE(" "), WIDE("\t"), WIDE("\r"), WIDE("\n"), WIDE("/"), WIDE(">")})
            if (m_file.IsStringAtPosition(FILE_CHAR_POS(position), true, follower, m_localization))
                return true;
        return false;
    }

    // The first ">" at or after `start` outside quoted attribute values; -1 when there is none.
    std::int64_t EndFrom(std::int64_t position) {
        for (;;) {
            const std::int64_t end = m_end.From(position);
            if (end < 0) return -1;
            bool isDouble = false;
            const std::int64_t quote = FirstQuote(position, end, isDouble);
            if (quote < 0) return end;
            const std::int64_t closing = (isDouble ? m_double : m_single).From(quote + 1);
            if (closing < 0) return -1;
            position = closing + 1;
        }
    }

    bool IsEmpty(std::int64_t end) {
        return m_file.IsStringBeforePosition(FILE_CHAR_POS(end), WIDE("/"), m_localization);
    }

private:
    // A start tag longer than this is searched for quotes rather than looked at.
    static constexpr std::int64_t kShortTag = 1024;

    static std::int64_t Before(std::int64_t place, std::int64_t limit) {
        return place >= 0 && place < limit ? place : -1;
    }

    // The first quote in [from, to). A tag of the usual length is looked at character by
    // character: a search would run on past it through the base64 that follows to the next
    // quote, reading every block twice.
    std::int64_t FirstQuote(std::int64_t from, std::int64_t to, bool& isDouble) {
        if (to - from > kShortTag) {
            const std::int64_t doubleQuote = Before(m_double.From(from), to);
            const std::int64_t singleQuote = Before(m_single.From(from), to);
            isDouble = singleQuote < 0 || (doubleQuote >= 0 && doubleQuote < singleQuote);
            return isDouble ? doubleQuote : singleQuote;
        }
        for (std::int64_t position = from; position < to; ++position) {
            for (const bool doubleQuote : {true, false}) {
                if (m_file.IsStringAtPosition(FILE_CHAR_POS(position), true,
                                              doubleQuote ? WIDE("\"") : WIDE("'"),
                                              m_localization)) {
                    isDouble = doubleQuote;
                    return position;
                }
            }
        }
        return -1;
    }

    CVFile& m_file;
    const Localization& m_localization;
    NextPlace m_end;
    NextPlace m_double;
    NextPlace m_single;
};

} // namespace

int CXMLClassReaderWriter::DeleteFileLogged(const View& path,
                                            const boost::shared_ptr<CLoggingFile>& logging,
                                            const LoggingSourcePos& position) {
    const CBasicString<WideChar> file(path);
    int error = 0;
    const int result = classxml::platform::RemoveFile(file, error);
    if (result != -1 || !logging) return result;
    if (error == 2 && logging->GetLoggingLevel() >= 5)
        logging->LogInfo(5, 3, position,
                         WIDE("Can't delete file '") + file +
                             WIDE("' because it doesn't exist or path is wrong"));
    else if (error == 13)
        logging->LogInfo(2, 3, position,
                         WIDE("Can't delete file '") + file +
                             WIDE("' due to missing access rights"));
    return result;
}

int CXMLClassReaderWriter::RenameFileLogged(const View& from, const View& to,
                                            const boost::shared_ptr<CLoggingFile>& logging,
                                            const LoggingSourcePos& position) {
    int error = 0;
    const int result = classxml::platform::RenameFile(CBasicString<WideChar>(from),
                                                      CBasicString<WideChar>(to), error);
    if (result == -1) LogFailedRename(error, from, to, logging, position);
    return result;
}

// The copy position is the first input character not yet in the rewritten document; each
// element contributes [copy, its ">" + 1), the side file's path, and ["</fileContent>", its
// "</FileTransport" + 16). Every file error (an open, a write, a side file that cannot be
// created) ends the call with false before the input is touched; so does the search from -1
// that a missing "</FileTransport" leaves, which CVFile refuses rather than restarting at 0.
// No base64 text is ever lost: it is either in its side file or still in the input, and the
// rewritten document takes the input's place only once every side file it names is on the
// device, so that the input's name holds one of the two at every moment, a power loss
// included. Only what can be base64 is moved: the content of a non-empty "<fileContent" start
// tag up to a "</fileContent>" with no markup before it; it is read once, copied into its side
// file as it is searched. Side files and the rewritten document get the input's permissions,
// owner and group; a symbolic link is followed to the file it names, where they are written.
bool CXMLClassReaderWriter::PreprocessReading(const View& given, const Localization& localization,
                                              const boost::shared_ptr<CLoggingFile>& logging) {
    namespace platform = classxml::platform;
    try {
        const CBasicString<WideChar> path =
            platform::InspectWriteTarget(CBasicString<WideChar>(given)).path;
        CVFile input;
        input.Open(path, CVFile::kReadExisting);
        const auto find = [&](View text, std::int64_t start) {
            return input.FindStringPositionInFile(text, localization, true, FILE_CHAR_POS(start))
                .get();
        };
        // A new file beside the input, as private as the input is.
        const auto create = [&](CVFile& file, const CBasicString<WideChar>& name) {
            if (const int error = platform::CreateFileLike(name, path))
                ThrowFileError(name, error, WIDE("Open"),
                               CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
            file.Open(name, CVFile::kCreateForWriting);
        };
        // Side files and the rewritten document go next to the input.
        const CBasicString<WideChar> directory(
            View(path).substr(0, path.size() - input.GetFileName().size()));
        CVFile rewritten;
        CBasicString<WideChar> rewrittenPath;
        CBasicString<WideChar> documentUuid; // stays empty when no UUID can be made
        CBasicString<WideChar> sideUuid;     // keeps the previous one when none can be made
        std::int64_t copied = 0;
        std::int64_t search = 0;
        bool result = true;
        StartTags tags(input, localization);
        for (;;) {
            const std::int64_t transport = find(kTransportStart, search);
            if (transport < 0) break;
            std::int64_t content = find(kContentStart, transport);
            while (content >= 0 && !tags.NameEndsAt(content + std::int64_t(kContentStart.size())))
                content = find(kContentStart, content + 1);
            if (content < 0) break;
            const std::int64_t tagEnd = tags.EndFrom(content);
            if (tagEnd < 0) {
                result = false;
                break;
            }
            if (tags.IsEmpty(tagEnd)) { // <fileContent .../> has nothing to move
                search = tagEnd;
                continue;
            }
            // The content goes into its side file up to the first markup, which must be
            // "</fileContent>": otherwise it is not a base64 block, and the side file goes.
            platform::NewUuidText(sideUuid);
            const CBasicString<WideChar> sidePath = directory + sideUuid + WIDE(".base64");
            std::int64_t contentEnd = -1;
            {
                CVFile side; // a side file that cannot be written ends the call: see above
                create(side, sidePath);
                contentEnd =
                    side.AppendFileContentUpTo(input, FILE_CHAR_POS(tagEnd + 1), '<').get();
                side.Close();
            }
            const bool isBlock =
                contentEnd >= 0 && input.IsStringAtPosition(FILE_CHAR_POS(contentEnd), true,
                                                            kContentEnd, localization);
            if (!isBlock) {
                DeleteFileLogged(sidePath, logging, CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
                if (contentEnd < 0 || find(kContentEnd, contentEnd) < 0) {
                    result = false;
                    break;
                }
                search = contentEnd; // markup inside: not a base64 block
                continue;
            }
            if (const int error = platform::SyncFileAt(sidePath))
                ThrowFileError(sidePath, error, WIDE("Flush"),
                               CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
            const std::int64_t transportEnd = find(kTransportEnd, contentEnd); // not checked
            if (rewrittenPath.empty()) {
                platform::NewUuidText(documentUuid);
                rewrittenPath = directory + documentUuid + WIDE(".xml");
                create(rewritten, rewrittenPath);
            }
            rewritten.AppendFileContent(input, FILE_CHAR_POS(copied), FILE_CHAR_POS(tagEnd + 1));
            rewritten.Write(View(AsElementText(sidePath)));
            rewritten.AppendFileContent(input, FILE_CHAR_POS(contentEnd),
                                        FILE_CHAR_POS(transportEnd + kTransportEndLength));
            copied = transportEnd + kTransportEndLength;
            search = transportEnd;
        }
        if (!rewrittenPath.empty()) {
            const auto size = static_cast<std::int64_t>(input.GetSizeInCharacters().get());
            if (size > copied)
                rewritten.AppendFileContent(input, FILE_CHAR_POS(copied), FILE_CHAR_POS(size));
            rewritten.Close();
            input.Close();
            int error = 0;
            if (platform::MoveOverFile(rewrittenPath, path, error) != 0)
                LogFailedRename(error, rewrittenPath, path, logging,
                                CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
        }
        input.Close();
        return result;
    } catch (const CBasicFileException&) {
        return false;
    }
}
