#include "classxml/archive/Result.h"

namespace classxml {

std::string Result::Message() const {
    if (ok) return {};
    std::string message =
        path + ": " + (expected.empty() ? found : "expected " + expected + ", found " + found);
    for (const Diagnostic& diagnostic : diagnostics) {
        message += "\n  " + diagnostic.source;
        if (diagnostic.line)
            message +=
                ':' + std::to_string(diagnostic.line) + ':' + std::to_string(diagnostic.column);
        message += ": " + diagnostic.message;
    }
    return message;
}

} // namespace classxml
