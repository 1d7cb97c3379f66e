#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "classxml/BasicString.h"

namespace classxml::archive_detail {

// Where an archive stands, as the path an error names: the members from the root down, an item
// of a container by its element name and its 1-based place ("Sensor[2]"). The text is only
// made when it is asked for, when a member fails, while every step's name is still alive: the
// member names of the serialize calls under way, the element names of the document being read.
// So steps keep views, and walking a document of any size copies and allocates nothing once its
// depth has been reached.
class MemberPath {
public:
    // Steps into a member (index 0) or into an item of the container at the top, named in UTF-8
    // or as the document holds the name.
    void Enter(std::string_view name, std::size_t index = 0) {
        Step& step = Next(index);
        step.name = name;
        step.wide = false;
    }
    void Enter(CBasicStringView<WideChar> name, std::size_t index) {
        Step& step = Next(index);
        step.wideName = name;
        step.wide = true;
    }
    void Leave() { --m_depth; }
    bool Empty() const { return m_depth == 0; }
    std::size_t Depth() const { return m_depth; }
    std::string Text(std::string_view leaf = {}) const;

private:
    struct Step {
        std::string_view name;
        CBasicStringView<WideChar> wideName;
        bool wide = false;
        std::size_t index = 0;
    };
    Step& Next(std::size_t index) {
        if (m_depth == m_steps.size()) m_steps.emplace_back();
        Step& step = m_steps[m_depth++];
        step.index = index;
        return step;
    }

    std::vector<Step> m_steps; // the first m_depth are the path
    std::size_t m_depth = 0;
};

} // namespace classxml::archive_detail
