// The line of a document that a diagnostic points at, for people: cut around the column so that
// a column of 891 on one long line can be seen, with a caret under it.
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "Commands.h"

namespace classxml::tool {
namespace {

constexpr std::uint64_t kBefore = 60; // characters shown before the column
constexpr std::uint64_t kAfter = 20;  // and after it

struct Excerpt {
    std::string text;
    std::size_t caret = 0; // characters before the caret's place
};

// Reads the file up to the end of the window around `column` (1-based, in characters) on `line`,
// holding only the window: a line of any length costs no more.
std::optional<Excerpt> ExcerptOf(const std::string& path, std::uint64_t line,
                                 std::uint64_t column) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                         &std::fclose);
    if (!file || line == 0 || column == 0) return std::nullopt;
    // Lines are looked for in bytes of UTF-8 (or any ASCII-compatible encoding), not UTF-16.
    unsigned char head[2] = {};
    if (std::fread(head, 1, 2, file.get()) == 2 &&
        (head[0] == 0 || head[1] == 0 || (head[0] == 0xFF && head[1] == 0xFE) ||
         (head[0] == 0xFE && head[1] == 0xFF)))
        return std::nullopt;
    std::rewind(file.get());
    const std::uint64_t first = column > kBefore ? column - kBefore : 1;
    const std::uint64_t last = column + kAfter;
    Excerpt excerpt;
    if (first > 1) excerpt.text = "...", excerpt.caret = 3;
    std::uint64_t atLine = 1, atColumn = 0; // the character last read
    std::vector<char> block(64 * 1024);
    for (std::size_t size; (size = std::fread(block.data(), 1, block.size(), file.get())) > 0;) {
        const char* at = block.data();
        const char* const end = at + size;
        // The lines before are only counted, a block at a time.
        while (atLine < line && at != end) {
            const char* const lineEnd = static_cast<const char*>(std::memchr(at, '\n', end - at));
            at = lineEnd ? lineEnd + 1 : end;
            atLine += lineEnd != nullptr;
        }
        for (; at != end; ++at) {
            const auto c = static_cast<unsigned char>(*at);
            if (c == '\n' || c == '\r') return excerpt;
            if ((c & 0xC0) != 0x80) ++atColumn; // the first byte of a character
            if (atColumn > last) return excerpt.text += "...", excerpt;
            if (atColumn < first) continue;
            if ((c & 0xC0) != 0x80 && atColumn < column) ++excerpt.caret;
            // Control characters would move the caret or act on the terminal.
            excerpt.text += c < 0x20 || c == 0x7F ? ' ' : char(c);
        }
    }
    if (atLine < line) return std::nullopt;
    return excerpt;
}

} // namespace

std::string DiagnosticLines(const Diagnostic& diagnostic) {
    if (diagnostic.severity == Diagnostic::Severity::Warning) return {};
    std::string lines =
        diagnostic.severity == Diagnostic::Severity::Error ? "Error" : "Fatal Error";
    lines += " at file \"" + diagnostic.source + "\"";
    if (diagnostic.line != 0)
        lines += ", line " + std::to_string(diagnostic.line) + ", column " +
                 std::to_string(diagnostic.column);
    lines += "\n   Message: " + diagnostic.message + "\n";
    if (const auto excerpt = ExcerptOf(diagnostic.source, diagnostic.line, diagnostic.column))
        lines += "   " + excerpt->text + "\n   " + std::string(excerpt->caret, ' ') + "^\n";
    return lines;
}

} // namespace classxml::tool
