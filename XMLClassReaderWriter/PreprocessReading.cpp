// Moving base64 blocks out of a class-XML file before it is parsed, so that large embedded
// files never reach the DOM parser. A text scan with CVFile; nothing here parses XML.
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"

#include "basicio/VFile.h"
#include "platform/FileIO.h"
#include "platform/Uuid.h"

namespace {

using View = CXMLClassReaderWriter::View;

constexpr View kTransportStart = WIDE("<FileTransport");
constexpr View kContentStart = WIDE("<fileContent");
constexpr View kStartTagEnd = WIDE(">");
constexpr View kContentEnd = WIDE("</fileContent>");
constexpr View kTransportEnd = WIDE("</FileTransport");
// "</FileTransport" and the character that closes it, taken to be ">" without looking.
constexpr std::int64_t kTransportEndLength = 16;

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
    const CBasicString<WideChar> oldPath(from);
    const CBasicString<WideChar> newPath(to);
    int error = 0;
    const int result = classxml::platform::RenameFile(oldPath, newPath, error);
    if (result != -1 || !logging) return result;
    const CBasicString<WideChar> opening = WIDE("Can't rename file: ") + oldPath;
    if (error == 2)
        logging->LogError(opening + WIDE(" because it doesn't exist or path is wrong"), position);
    else if (error == 13)
        logging->LogError(opening + WIDE(" due to missing access rights or new file: ") + newPath +
                              WIDE(" already exists"),
                          position);
    else if (error == 22)
        logging->LogError(opening +
                              WIDE(" because of wrong characters inside name or path. Check also "
                                   "the new filename: ") +
                              newPath,
                          position);
    return result;
}

// The copy position is the first input character not yet in the rewritten document; each
// element contributes [copy, its ">" + 1), the side file's path, and ["</fileContent>", its
// "</FileTransport" + 16). Every file error (an open, a write, a side file that cannot be
// created) ends the call with false before the input is touched; so does the search from -1
// that a missing "</FileTransport" leaves, which CVFile refuses rather than restarting at 0.
// No base64 text is ever lost: it is either in its side file or still in the input.
bool CXMLClassReaderWriter::PreprocessReading(
    const View& path, const boost::shared_ptr<LocalizationManager>& localization,
    const boost::shared_ptr<CLoggingFile>& logging) {
    try {
        CVFile input;
        input.Open(path, CVFile::kReadExisting);
        const auto find = [&](View text, std::int64_t start) {
            return input.FindStringPositionInFile(text, localization, true, FILE_CHAR_POS(start))
                .get();
        };
        // Side files and the rewritten document go next to the input.
        const CBasicString<WideChar> directory(
            path.substr(0, path.size() - input.GetFileName().size()));
        CVFile rewritten;
        CBasicString<WideChar> rewrittenPath;
        CBasicString<WideChar> documentUuid; // stays empty when no UUID can be made
        CBasicString<WideChar> sideUuid;     // keeps the previous one when none can be made
        std::int64_t copied = 0;
        std::int64_t search = 0;
        bool result = true;
        for (;;) {
            const std::int64_t transport = find(kTransportStart, search);
            if (transport < 0) break;
            const std::int64_t content = find(kContentStart, transport);
            if (content < 0) break;
            const std::int64_t tagEnd = find(kStartTagEnd, content);
            if (tagEnd < 0) {
                result = false;
                break;
            }
            const std::int64_t contentEnd = find(kContentEnd, tagEnd);
            if (contentEnd < 0) {
                result = false;
                break;
            }
            const std::int64_t transportEnd = find(kTransportEnd, contentEnd); // not checked
            if (rewrittenPath.empty()) {
                classxml::platform::NewUuidText(documentUuid);
                rewrittenPath = directory + documentUuid + WIDE(".xml");
                rewritten.Open(rewrittenPath, CVFile::kCreateForWriting);
            }
            classxml::platform::NewUuidText(sideUuid);
            const CBasicString<WideChar> sidePath = directory + sideUuid + WIDE(".base64");
            {
                CVFile side; // a side file that cannot be written ends the call: see above
                side.Open(sidePath, CVFile::kCreateForWriting);
                side.AppendFileContent(input, FILE_CHAR_POS(tagEnd + 1), FILE_CHAR_POS(contentEnd));
                side.Close();
            }
            rewritten.AppendFileContent(input, FILE_CHAR_POS(copied), FILE_CHAR_POS(tagEnd + 1));
            rewritten.Write(View(sidePath));
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
            DeleteFileLogged(path, logging, CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
            RenameFileLogged(rewrittenPath, path, logging,
                             CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
        }
        input.Close();
        return result;
    } catch (const CBasicFileException&) {
        return false;
    }
}
