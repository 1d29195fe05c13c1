// Reads what was measured from the command line and converts it. CMakeLists.txt tells how to build it.

#include <kelm/kelm.h>

#include <iostream>

namespace weather
{
struct Reading
{
    std::string station;
    double celsius = 0;
};
} // namespace weather

KELM_DESCRIBE(weather::Reading, station, celsius)

int main(int argc, char** argv)
try
{
    const weather::Reading reading = kelm::Read<weather::Reading>(argc > 1 ? argv[1] : "");

    kelm::Scope scope;
    scope.Bind("celsius", reading.celsius);
    std::cout << reading.station << ": " << kelm::Evaluate<double>("celsius * 9 / 5 + 32", scope)
              << " degrees Fahrenheit\n";
}
catch (const kelm::Error& e)
{
    std::cerr << "thermometer: " << e.what() << '\n';
    return 1;
}
