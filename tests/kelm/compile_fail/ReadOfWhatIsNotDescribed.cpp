// error: the type is neither a number or text, nor described (KELM_DESCRIBE, KELM_DESCRIBE_ENUM)
#include <kelm/kelm.h>

struct Order
{
    int number = 0;
};

Order Use(std::string_view text)
{
    return kelm::Read<Order>(text);
}
