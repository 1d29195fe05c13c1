// A data file that is read, edited and written back, whole or not at all.

#include <kelm/kelm.h>

#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

struct Book
{
    std::string title;
    int year = 0;
    std::set<std::string> topics;
};
struct Library
{
    std::vector<Book> books;
    std::map<std::string, int> lent;
};

KELM_DESCRIBE(Book, title, year, topics)
KELM_DESCRIBE(Library, books, lent)

int main()
try
{
    auto library = kelm::ReadFile<Library>("library.kds");
    library.books.push_back({"Optics", 1704, {"light"}});
    kelm::Set(library, ".lent[\"Optics\"]", 3);
    kelm::Set(library, ".books[0].year", 1687);
    kelm::WriteFile("library.kds", library);

    const auto again = kelm::ReadFile<Library>("library.kds");
    std::cout << kelm::Write(again) << '\n';
    std::cout << kelm::Has(again, ".lent[\"Principia\"]") << kelm::Has(again, ".books[7]") << '\n';
}
catch (const kelm::Error& e)
{
    std::cerr << e.what() << '\n';
    return 1;
}
