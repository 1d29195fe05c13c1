// error: next cannot be described: it is or holds a pointer
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

KELM_CLASS(Line, KELM_MODEL(item), KELM_MODEL(next).Named("following"))
KELM_CLASS(Order, KELM_MODEL(lines).Required())

int main()
{
    kelm::Read<Order>("");
}
