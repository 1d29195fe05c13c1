// A configuration with defaults, checks and required members: what the file does not mention keeps its default, and
// what it gets wrong is told with its place.

#include <kelm/kelm.h>

#include <chrono>
#include <iostream>
#include <map>
#include <string>

struct Server
{
    std::string host;
    int port = 8080;
    std::chrono::milliseconds timeout{250};
    std::map<std::string, std::string> headers;
};

KELM_CLASS(Server, KELM_MODEL(host).Required(),
           KELM_MODEL(port).Check([](int port) { return 0 < port && port < 65536; }), KELM_MODEL(timeout),
           KELM_MODEL(headers))

int main()
{
    const Server server =
        kelm::Read<Server>("{ host = \"example.org\" timeout = \"2s\" headers = [\"accept\" -> \"*/*\"] }");
    std::cout << server.host << ':' << server.port << ", " << server.timeout.count() << " ms, accepts "
              << server.headers.at("accept") << '\n';

    for (const char* mistake : {"{ port = 80 }", "{ host = \"a\" port = 70000 }", "{ host = \"a\" timeuot = \"1s\" }"})
        if (const kelm::Result<Server> wrong = kelm::TryRead<Server>(mistake); !wrong)
            std::cout << wrong.GetError().what() << '\n';
}
