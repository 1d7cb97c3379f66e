// The line of a document that a diagnostic points at, for people: cut around the column so that
// a column of 891 on one long line can be seen, with a caret under it.
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>
#include <vector>

#include "Commands.h"

namespace classxml::tool {
namespace {

constexpr std::uint64_t kBefore = 60; // characters shown before the column
constexpr std::uint64_t kAfter = 20;  // and after it

struct Excerpt {
    std::string text;
    std::size_t caret = 0;    // characters before the caret's place
    std::uint64_t column = 0; // the column in characters of the file
};

// Reads the file up to `kAfter` characters past the parser's `column` (1-based, in UTF-16 units,
// which a character past U+FFFF takes two of) on `line`, holding only the window around it: a
// line of any length costs no more. Only a regular file is read again: a FIFO or a device would
// wait for a writer, or give other bytes.
std::optional<Excerpt> ExcerptOf(const std::string& path, std::uint64_t line,
                                 std::uint64_t column) {
    std::error_code error;
    if (line == 0 || column == 0 || !std::filesystem::is_regular_file(path, error))
        return std::nullopt;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                         &std::fclose);
    if (!file) return std::nullopt;
    // Lines are looked for in bytes of UTF-8 (or any ASCII-compatible encoding), not UTF-16.
    unsigned char head[2] = {};
    if (std::fread(head, 1, 2, file.get()) == 2 &&
        (head[0] == 0 || head[1] == 0 || (head[0] == 0xFF && head[1] == 0xFE) ||
         (head[0] == 0xFE && head[1] == 0xFF)))
        return std::nullopt;
    std::rewind(file.get());
    std::deque<std::string> before; // the last kBefore characters before the column
    bool cutBefore = false;
    std::string after;
    std::uint64_t units = 0, characters = 0, afterCount = 0;
    bool reached = false;
    std::uint64_t atLine = 1;
    const auto done = [&] {
        Excerpt excerpt;
        if (!reached && units + 1 == column) { // just past the line's last character
            reached = true;
            characters += 1;
        }
        if (!reached) return std::optional<Excerpt>(); // the line is shorter than the column
        if (cutBefore) excerpt.text = "...", excerpt.caret = 3;
        for (const std::string& character : before)
            excerpt.text += character;
        excerpt.caret += before.size();
        excerpt.text += after;
        if (afterCount > kAfter) excerpt.text += "...";
        excerpt.column = characters;
        return std::optional<Excerpt>(excerpt);
    };
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
        for (; at != end && atLine == line; ++at) {
            const auto c = static_cast<unsigned char>(*at);
            if (c == '\n' || c == '\r') return done();
            // Control characters would move the caret or act on the terminal.
            const char shown = c < 0x20 || c == 0x7F ? ' ' : char(c);
            if ((c & 0xC0) == 0x80) { // the rest of a character
                (reached ? after : before.back()) += shown;
                continue;
            }
            if (!reached && units + 1 >= column) {
                reached = true;
                characters += 1;
            } else if (!reached) {
                units += c >= 0xF0 ? 2 : 1;
                characters += 1;
            }
            if (!reached) {
                before.push_back(std::string(1, shown));
                if (before.size() > kBefore) before.pop_front(), cutBefore = true;
            } else if (++afterCount <= kAfter + 1) {
                if (afterCount <= kAfter) after += shown;
            } else {
                return done();
            }
        }
    }
    return done();
}

} // namespace

std::string DiagnosticLines(const Diagnostic& diagnostic) {
    if (diagnostic.severity == Diagnostic::Severity::Warning) return {};
    std::string lines =
        diagnostic.severity == Diagnostic::Severity::Error ? "Error" : "Fatal Error";
    lines += " at file \"" + diagnostic.source + "\"";
    // The column in characters of the file where it can be read again, else the parser's.
    const auto excerpt = ExcerptOf(diagnostic.source, diagnostic.line, diagnostic.column);
    if (diagnostic.line != 0)
        lines += ", line " + std::to_string(diagnostic.line) + ", column " +
                 std::to_string(excerpt ? excerpt->column : diagnostic.column);
    lines += "\n   Message: " + diagnostic.message + "\n";
    if (excerpt)
        lines += "   " + excerpt->text + "\n   " + std::string(excerpt->caret, ' ') + "^\n";
    return lines;
}

} // namespace classxml::tool
