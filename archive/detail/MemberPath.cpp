#include "classxml/archive/detail/MemberPath.h"

#include "classxml/archive/detail/WideText.h"

namespace classxml::archive_detail {

std::string MemberPath::Text(std::string_view leaf) const {
    std::string text;
    for (std::size_t i = 0; i < m_depth; ++i) {
        const Step& step = m_steps[i];
        if (!text.empty()) text += '/';
        if (step.wide)
            text += Utf8Of(step.wideName);
        else
            text += step.name;
        if (step.index) text += '[' + std::to_string(step.index) + ']';
    }
    if (!leaf.empty()) (text += '/') += leaf;
    return text;
}

} // namespace classxml::archive_detail
