// classxml compat: whether a newer DTD accepts every document an older one does.
#include <cstdio>
#include <set>
#include <stdexcept>

#include "Commands.h"
#include "classxml/compat/Compatibility.h"

namespace classxml::tool {

int Compat(const std::filesystem::path& older, const std::filesystem::path& newer) {
    dtd_declarations::Declarations declarations[2];
    const std::filesystem::path* paths[2] = {&older, &newer};
    for (int i = 0; i < 2; ++i) {
        if (const std::string problem = Unreadable(*paths[i]); !problem.empty())
            return Fail(paths[i]->string(), problem);
        std::string problem;
        if (!dtd_declarations::Read(Wide(*paths[i]), declarations[i], problem))
            return Fail(paths[i]->string(), problem);
    }
    std::vector<compat::Loss> losses;
    try {
        losses = compat::Compare(declarations[0], declarations[1]);
    } catch (const std::invalid_argument& refusal) {
        return Fail(older.string() + ", " + newer.string(),
                    std::string("not compared: ") + refusal.what());
    }
    if (losses.empty()) {
        std::printf("%s accepts every document %s accepts\n", newer.string().c_str(),
                    older.string().c_str());
        return 0;
    }
    std::set<std::string> elements;
    for (const compat::Loss& loss : losses) {
        std::printf("%s: %s\n  example: %s\n", loss.element.c_str(), loss.what.c_str(),
                    loss.example.c_str());
        elements.insert(loss.element);
    }
    std::fprintf(stderr, "classxml: %s refuses documents %s accepts (%zu element%s)\n",
                 newer.string().c_str(), older.string().c_str(), elements.size(),
                 elements.size() == 1 ? "" : "s");
    return 3;
}

} // namespace classxml::tool
