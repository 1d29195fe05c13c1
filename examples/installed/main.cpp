// Reads a data source from the command line and converts what it measured. CMakeLists.txt tells how to build it.

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/describe/Describe.h>

#include <iostream>

namespace weather
{
struct Reading
{
    kelm::xstring station;
    double celsius = 0;
};
} // namespace weather

KELM_CLASS(weather::Reading, KELM_MODEL(station), KELM_MODEL(celsius))

int main(int argc, char** argv)
{
    Register_Project_klKelmScript();
    kelm::RegisterTypes<weather::Reading>(nullptr);

    kelm::xstring error;
    const kelm::ptr<kelm::IObject> object = kelm::ParseDataSourceFromString(argc > 1 ? argv[1] : "", error);
    if (!object)
    {
        std::cerr << "thermometer: " << error.c_str() << "\n";
        return 1;
    }
    const weather::Reading& reading = *static_cast<const weather::Reading*>(object.self());

    kelm::StringStream expression(64);
    expression << reading.celsius << " * 9 / 5 + 32";
    const kelm::xstring text = expression.GetString();
    kelm::KSParser parser;
    parser.Init(text);
    std::cout << reading.station.c_str() << ": " << parser.ParseValue<double>(true) << " degrees Fahrenheit\n";
}
