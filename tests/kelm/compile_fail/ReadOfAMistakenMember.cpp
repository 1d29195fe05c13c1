// error: Line::next cannot be described: it is or holds a pointer
#include <kelm/kelm.h>

struct Line
{
    std::string item;
    Line* next = nullptr;
};

KELM_DESCRIBE(Line, item, next)

int main()
{
    kelm::Read<Line>("");
}
