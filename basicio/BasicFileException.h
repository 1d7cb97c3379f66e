#pragma once

#include <exception>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"
#include "classxml/platform/LoggingSourcePos.h"

/// A failure of the text-file layer: a small error code made from the runtime library's error
/// number, the file's path, the short name of the failing operation and where it was raised.
class CLASSXML_API CBasicFileException : public std::exception {
public:
    /// An empty record (code -1) for callers that pass a destination to be filled, or the
    /// record of a failure.
    ///@{
    CBasicFileException();
    CBasicFileException(int errorCode, CBasicString<WideChar> filePath,
                        CBasicString<WideChar> operationName, LoggingSourcePos sourcePos);
    ///@}

    /// 13 -> 0, 17 -> 1, 22 -> 2, 24 -> 3, 2 -> 4, 9 -> 5, 28 -> 6, 12 -> 7, anything else -> 8.
    static int ErrorCodeFor(int errorNumber);
    /// The fixed English text of a code.
    static const char* TextFor(int errorCode);

    /// "File exception for: <path> error was: <text of the code>".
    const char* what() const noexcept override;

    /// The record's parts: its code (ErrorCodeFor), the file, the operation, where it was raised.
    ///@{
    int GetErrorCode() const { return m_errorCode; }
    const CBasicString<WideChar>& GetFilePath() const { return m_filePath; }
    const CBasicString<WideChar>& GetOperationName() const { return m_operationName; }
    const LoggingSourcePos& GetSourcePos() const { return m_sourcePos; }
    ///@}

private:
    int m_errorCode = -1;
    CBasicString<WideChar> m_filePath;
    CBasicString<WideChar> m_operationName;
    LoggingSourcePos m_sourcePos;
    CBasicString<char> m_message;
};

/// Throws the file error for a runtime-library error number.
[[noreturn]] CLASSXML_API void ThrowFileError(const CBasicString<WideChar>& filePath,
                                              int errorNumber, const WideChar* operationName,
                                              const LoggingSourcePos& sourcePos);

/// Raises the file error for a runtime-library error number: fills `destination` and returns
/// when one is given, throws otherwise.
CLASSXML_API void RaiseFileError(const CBasicString<WideChar>& filePath, int errorNumber,
                                 const WideChar* operationName, const LoggingSourcePos& sourcePos,
                                 CBasicFileException* destination = nullptr);
