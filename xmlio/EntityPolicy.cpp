#include "xmlio/EntityPolicy.h"

namespace classxml::entity_policy {
namespace {

using View = CBasicStringView<WideChar>;

bool IsSeparator(WideChar unit) { return unit == '/' || unit == '\\'; }

// Anything that could leave the directory: a root, a drive or scheme, a step up.
bool StaysInside(View relative) {
    if (relative.empty() || IsSeparator(relative.front())) return false;
    if (relative.find(WideChar(':')) != View::npos) return false; // "C:", "file:", "http:"
    for (std::size_t start = 0; start <= relative.size();) {
        std::size_t end = start;
        while (end < relative.size() && !IsSeparator(relative[end]))
            ++end;
        if (relative.substr(start, end - start) == View(WIDE(".."))) return false;
        start = end + 1;
    }
    return true;
}

} // namespace

std::optional<CBasicString<WideChar>> ResolveInDtdDirectory(View systemId, View directory) {
    View relative = systemId;
    if (!directory.empty() && systemId.starts_with(directory))
        relative.remove_prefix(directory.size());
    if (!StaysInside(relative)) return std::nullopt;
    return CBasicString<WideChar>(directory) + CBasicString<WideChar>(relative);
}

xercesc::SecurityManager* ExpansionLimit() {
    static xercesc::SecurityManager limit; // Xerces' default: 50,000 expansions a document
    return &limit;
}

} // namespace classxml::entity_policy
