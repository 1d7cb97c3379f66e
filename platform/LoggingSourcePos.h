#pragma once

#include <string>

/// Where a log entry comes from: source file, line, the source file's build time stamp and the
/// reporting function's full signature.
struct LoggingSourcePos {
    std::string sourceFile; ///< as the reporting code names it
    int line = 0;           ///< 1-based
    std::string timeStamp;  ///< the source file's build time stamp
    std::string signature;  ///< the reporting function's full signature
};

#if defined(_MSC_VER)
#define CLASSXML_FUNCTION_SIGNATURE __FUNCSIG__
#else
#define CLASSXML_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#endif

// The position of the line where it is written, reported as coming from `sourceName`.
#define CLASSXML_SOURCE_POS(sourceName)                                                            \
    LoggingSourcePos { sourceName, __LINE__, __TIMESTAMP__, CLASSXML_FUNCTION_SIGNATURE }
