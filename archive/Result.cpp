#include "classxml/archive/Result.h"

namespace classxml {

std::string Result::Message() const {
    if (ok) return {};
    std::string message = (path.empty() ? "" : path + ": ") +
                          (expected.empty() ? found : "expected " + expected + ", found " + found);
    for (const Diagnostic& diagnostic : diagnostics) { // source and place where known
        message += "\n  " + diagnostic.source;
        if (diagnostic.line)
            message +=
                ':' + std::to_string(diagnostic.line) + ':' + std::to_string(diagnostic.column);
        message += (message.back() == ' ' ? "" : ": ") + diagnostic.message;
    }
    return message;
}

} // namespace classxml
