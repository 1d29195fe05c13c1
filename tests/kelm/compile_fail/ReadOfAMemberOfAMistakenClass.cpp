// error: Line::next cannot be described: it is or holds a pointer
#include <kelm/kelm.h>

#include <vector>

struct Line
{
    std::string item;
    Line* next = nullptr;
};
struct Order
{
    std::vector<Line> lines;
};

KELM_DESCRIBE(Line, item, next)
KELM_DESCRIBE(Order, lines)

int main()
{
    kelm::Read<Order>("");
}
