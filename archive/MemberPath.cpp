#include "archive/MemberPath.h"

namespace classxml::archive_detail {

std::string MemberPath::Text(std::string_view leaf) const {
    std::string text;
    for (const Step& step : m_steps) {
        if (!text.empty()) text += '/';
        text += step.name;
        if (step.index) text += '[' + std::to_string(step.index) + ']';
    }
    if (!leaf.empty()) (text += '/') += leaf;
    return text;
}

} // namespace classxml::archive_detail
