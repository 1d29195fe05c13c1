#include <klKelmScript/KSParser.h>

#include <iostream>

int main()
{
    kelm::KSParser parser;
    parser.Init("6 * 7");
    kelm::KSValue value;
    parser.ParseExpression(value);
    std::cout << value.as<kelm::int64>() << '\n';
}
