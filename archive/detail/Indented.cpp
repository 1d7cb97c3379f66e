#include "classxml/archive/detail/Indented.h"

namespace classxml::archive_detail {

namespace {

// Where the markup that starts at `at` ('<') ends, past its '>'; quoted attribute values may
// hold '>'.
std::size_t MarkupEnd(std::string_view xml, std::size_t at) {
    char quote = 0;
    for (++at; at < xml.size(); ++at) {
        const char c = xml[at];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        }
    }
    return xml.size();
}

void NewLine(std::string& out, std::size_t depth) {
    out += '\n';
    out.append(2 * depth, ' ');
}

} // namespace

std::string Indented(std::string_view compact) {
    std::string out;
    out.reserve(compact.size() + compact.size() / 4);
    std::size_t depth = 0;
    bool inRoot = false;       // past the root's start tag
    bool afterElement = false; // the last markup ended an element
    std::size_t at = 0;
    while (at < compact.size()) {
        if (compact[at] != '<') { // text: copied as it stands, up to the next markup
            const std::size_t next = compact.find('<', at);
            const std::size_t end = next == std::string_view::npos ? compact.size() : next;
            out.append(compact.substr(at, end - at));
            afterElement = false;
            at = end;
            continue;
        }
        const std::size_t end = MarkupEnd(compact, at);
        const std::string_view markup = compact.substr(at, end - at);
        at = end;
        if (markup.starts_with("<?") || markup.starts_with("<!")) { // declaration, DOCTYPE
            out.append(markup);
            if (!inRoot) out += '\n';
            continue;
        }
        if (markup.starts_with("</")) {
            --depth;
            if (afterElement) NewLine(out, depth);
            out.append(markup);
            afterElement = true;
            continue;
        }
        if (inRoot) NewLine(out, depth);
        inRoot = true;
        out.append(markup);
        const bool empty = markup.ends_with("/>");
        if (!empty) ++depth;
        afterElement = empty;
    }
    out += '\n';
    return out;
}

} // namespace classxml::archive_detail
