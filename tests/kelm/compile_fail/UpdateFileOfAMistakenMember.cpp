// error: Line::next cannot be described: it is or holds a pointer
#include <kelmDocument/Update.h>

struct Line
{
    std::string item;
    Line* next = nullptr;
};

KELM_DESCRIBE(Line, item, next)

int main()
{
    kelm::UpdateFile("lines.kds", Line());
}
