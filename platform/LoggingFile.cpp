#include "classxml/platform/LoggingFile.h"

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "classxml/platform/Utf.h"

namespace {

// "2026-11-22T09:30:05Z": ISO 8601 in UTC, independent of the process locale and time zone.
std::string UtcTimeText() {
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date{day};
    const hh_mm_ss time{now - day};
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

} // namespace

CLoggingFile::CLoggingFile(const CBasicString<WideChar>& logFilePath, int loggingLevel)
    : m_loggingLevel(loggingLevel),
      m_file(std::filesystem::path(classxml::platform::Utf16ToUtf8(logFilePath)),
             std::ios::out | std::ios::app | std::ios::binary) {}

CLoggingFile::CLoggingFile(int loggingLevel) : m_loggingLevel(loggingLevel) {}

CLoggingFile::~CLoggingFile() = default;

int CLoggingFile::GetLoggingLevel() const { return m_loggingLevel; }

void CLoggingFile::LogInfo(int level, int messageLevel, const LoggingSourcePos& position,
                           const CBasicString<WideChar>& text) {
    if (level > GetLoggingLevel()) return;
    WriteLine("INFO " + std::to_string(level) + "/" + std::to_string(messageLevel), position, text);
}

void CLoggingFile::LogError(const CBasicString<WideChar>& text, const LoggingSourcePos& position) {
    WriteLine("ERROR", position, text);
}

void CLoggingFile::WriteLine(const std::string& kind, const LoggingSourcePos& position,
                             const CBasicString<WideChar>& text) {
    // UTF-8 on every platform: a log must not lose characters the ANSI code page lacks.
    const CBasicString<char8_t> utf8 = classxml::platform::Utf16ToUtf8(text);
    const std::string line = UtcTimeText() + " [" + kind + "] " + position.sourceFile + ":" +
                             std::to_string(position.line) + " (" + position.signature + ") " +
                             std::string(utf8.begin(), utf8.end()) + "\n";
    const std::lock_guard lock(m_mutex);
    if (!m_file.is_open()) return;
    m_file << line;
    m_file.flush();
}
