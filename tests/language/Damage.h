#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace kelm::language
{

// A text of JSON in which a few pieces are left out, written twice, or replaced by others.
inline std::string Damaged(std::string text, std::mt19937_64& random)
{
    static const char* const s_pieces[] = {"{",   "}",    "[",    "]",  ",",          ":",    "\"",
                                           "\\",  "null", "true", "-",  "1e999",      "1.5",  "\"\"",
                                           "// ", "/*",   "{}",   "[]", "\"$class\"", "\xFF", "99999999999999999999"};
    for (std::size_t n = 1 + random() % 3; n > 0; --n)
    {
        const std::size_t place = random() % (text.size() + 1);
        const std::size_t size = random() % 12;
        switch (random() % 3)
        {
        case 0: text.erase(place, size); break;
        case 1: text.insert(place, text.substr(place, size)); break;
        default: text.replace(place, size % 3, s_pieces[random() % std::size(s_pieces)]); break;
        }
    }
    return text;
}

} // namespace kelm::language
