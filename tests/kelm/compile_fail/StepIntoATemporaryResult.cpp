// error: deleted
#include <kelm/kelm.h>

struct Order
{
    std::vector<int> numbers;
};
KELM_DESCRIBE(Order, numbers)

int Use(std::string_view text)
{
    int sum = 0;
    for (const int x : kelm::TryRead<Order>(text)->numbers)
        sum += x;
    return sum;
}
