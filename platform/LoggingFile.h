#pragma once

#include <fstream>
#include <mutex>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"
#include "classxml/platform/LoggingSourcePos.h"

/// The application's logging object. This one appends one line per entry to a log file, in
/// UTF-8: UTC time, kind and levels, source position, text. Entries whose level is above the
/// logging level are dropped; errors are always written. Applications may derive and log elsewhere.
class CLASSXML_API CLoggingFile {
public:
    /// Appends to `logFilePath` (created when missing). An unopenable file drops every entry.
    explicit CLoggingFile(const CBasicString<WideChar>& logFilePath, int loggingLevel = 3);
    virtual ~CLoggingFile();

    CLoggingFile(const CLoggingFile&) = delete;
    CLoggingFile& operator=(const CLoggingFile&) = delete;

    /// An information entry, written when `messageLevel` is at most the logging level.
    virtual void LogInfo(int level, int messageLevel, const LoggingSourcePos& position,
                         const CBasicString<WideChar>& text);
    /// An error entry, always written.
    virtual void LogError(const CBasicString<WideChar>& text, const LoggingSourcePos& position);
    /// The level above which information entries are dropped.
    virtual int GetLoggingLevel() const;

protected:
    /// For subclasses that write elsewhere: no file, the given logging level.
    explicit CLoggingFile(int loggingLevel);

private:
    void WriteLine(const std::string& kind, const LoggingSourcePos& position,
                   const CBasicString<WideChar>& text);

    int m_loggingLevel;
    std::mutex m_mutex;
    std::ofstream m_file;
};
