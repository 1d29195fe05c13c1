// Where KELM_TEST_LOCALE names a locale, the tests of the program run in it: texts and numbers know of none. What the
// system says of its errors stays in the language that the tests know.

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace
{

const bool s_isSet = []
{
    const char* const name = std::getenv("KELM_TEST_LOCALE");
    if (name == nullptr)
        return false;
    if (std::setlocale(LC_ALL, name) == nullptr)
    {
        std::fprintf(stderr, "There is no locale %s\n", name);
        std::_Exit(1);
    }
    return std::setlocale(LC_MESSAGES, "C") != nullptr;
}();

} // namespace
