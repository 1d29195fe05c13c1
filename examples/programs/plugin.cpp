// A host that gives its functions to scripts: free functions, lambdas with state, any number of arguments, members.

#include <kelm/kelm.h>

#include <iostream>
#include <numeric>
#include <span>
#include <string>
#include <vector>

struct Sensor
{
    std::string name;
    std::vector<double> readings;

    double Mean() const { return std::accumulate(readings.begin(), readings.end(), 0.0) / double(readings.size()); }
};
KELM_DESCRIBE(Sensor, name, readings)

double ToFahrenheit(double celsius)
{
    return celsius * 9 / 5 + 32;
}

int main()
try
{
    Sensor roof{"roof", {20.5, 21.0, 22.5}};
    std::vector<std::string> alarms;

    kelm::Scope scope;
    scope.Bind("roof", roof);
    scope.Define("fahrenheit", ToFahrenheit);
    scope.Define("Mean", &Sensor::Mean);
    scope.Define("alarm", [&](const std::string& text) { alarms.push_back(text); });
    scope.Define("join",
                 [](std::span<const kelm::Value> parts)
                 {
                     std::string all;
                     for (const kelm::Value& part : parts)
                         all += part.ToText();
                     return all;
                 });

    std::cout << kelm::Evaluate("fahrenheit(roof.Mean())", scope) << '\n';
    std::cout << kelm::Evaluate("join(roof.name, ': ', max(roof.readings[0], roof.readings[2]))", scope) << '\n';
    kelm::Evaluate("any(roof.readings, r, r > 22) ? alarm('hot: ' + roof.name) : alarm('fine')", scope);
    std::cout << alarms.at(0) << '\n';
    kelm::Evaluate("fahrenheit('warm')", scope);
}
catch (const kelm::Error& e)
{
    std::cout << e.what() << '\n';
}
