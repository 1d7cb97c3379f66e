// Moving base64 blocks out of a class-XML file before it is parsed, so that large embedded
// files never reach the DOM parser. A text scan with CVFile; nothing here parses XML.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include "classxml/XMLClassReaderWriter/Extraction.h"
#include "classxml/basicio/BasicFileException.h"
#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplace.h"

namespace {

using View = CXMLClassReaderWriter::View;
using Localization = boost::shared_ptr<LocalizationManager>;

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

// The rules it keeps are Extraction's (Extraction.h).
bool CXMLClassReaderWriter::PreprocessReading(const View& given, const Localization& localization,
                                              const boost::shared_ptr<CLoggingFile>& logging) {
    try {
        const CBasicString<WideChar> path =
            classxml::platform::InspectWriteTarget(CBasicString<WideChar>(given)).path;
        classxml::extraction::Extraction extraction(
            path, localization, [&](const CBasicString<WideChar>& side) {
                DeleteFileLogged(side, logging, CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
            });
        const bool complete = extraction.MoveBlocks();
        CBasicString<WideChar> rewritten;
        if (const int error = extraction.PutInPlace(rewritten))
            LogFailedRename(error, rewritten, path, logging,
                            CLASSXML_SOURCE_POS("XMLClassReaderWriter"));
        return complete;
    } catch (const CBasicFileException&) {
        return false;
    }
}
