// error: the type is neither a number or text, nor described (KELM_DESCRIBE, KELM_DESCRIBE_ENUM)
#include <kelmDocument/Update.h>

struct Line
{
    int quantity = 0;
};

int main()
{
    kelm::UpdateFile("lines.kds", Line());
}
