// A library of its own that describes a type which others describe too: alike, or under OTHER with another member.

#include <kelm/kelm.h>

#include <string>
#include <vector>

namespace twins
{

struct Node
{
#ifdef OTHER
    std::string number;
#else
    int number = 1;
#endif
    std::vector<Node> nodes;
};

} // namespace twins

KELM_DESCRIBE(twins::Node, number, nodes)

// What was read, written again; or what is wrong.
extern "C" __attribute__((visibility("default"))) const char* ReadTwin(const char* text)
{
    static std::string s_outcome;
    const kelm::Result<twins::Node> node = kelm::TryRead<twins::Node>(text);
    s_outcome = node ? kelm::Write(*node) : std::string(node.GetError().what());
    return s_outcome.c_str();
}
