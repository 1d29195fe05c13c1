// error: next cannot be described: it is or holds a pointer
#include <kelm/kelm.h>

struct Line
{
    std::string item;
    Line* next = nullptr;
};

KELM_CLASS(Line, KELM_MODEL(item).Check([](const std::string& text) { return !text.empty(); }).Required(),
           KELM_MODEL(next).Named("following"))

int main()
{
    kelm::Read<Line>("");
}
