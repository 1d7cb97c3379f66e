#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace classxml::archive_detail {

// Where an archive stands, as the path an error names: the members from the root down, an item
// of a container by its element name and its 1-based place ("Sensor[2]"). The text is only
// made when it is asked for.
class MemberPath {
public:
    // Steps into a member (index 0) or into an item of the container at the top.
    void Enter(std::string_view name, std::size_t index = 0) {
        m_steps.push_back({std::string(name), index});
    }
    void Leave() { m_steps.pop_back(); }
    std::string Text(std::string_view leaf = {}) const;

private:
    struct Step {
        std::string name;
        std::size_t index = 0;
    };
    std::vector<Step> m_steps;
};

} // namespace classxml::archive_detail
