// A client of the language server that sends anything. The input's lines are messages: JSON as it stands, octets behind
// "!", of which no frame is made, or behind "=" a text that is opened, in which every request is then made at a place.
// Nothing of it may end the server, every request is answered once, and every answer is JSON.

#include "Sample.h"

#include <kelmLanguage/server/Frames.h>
#include <kelmLanguage/server/Json.h>
#include <kelmLanguage/server/Server.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace kelm;
using namespace kelm::language;

namespace
{

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

constexpr const char* s_own = "the fuzzer's own";

class Host : public ServerHost
{
public:
    void UseTypes(const TypeSettings&) override {}
    bool ReadText(const std::string&, long long, std::string_view) override { return false; }
    std::optional<FormatOptions> FindLayout(const std::string&, const FormatOptions& otherwise, std::string&) override
    {
        return otherwise;
    }
    std::string WriteShown(const std::string& name, const std::string&) override { return "/tmp/" + name; }
};

constexpr const char* s_methods[] = {
    "completion",        "hover",          "signatureHelp", "definition",          "references",
    "documentHighlight", "documentSymbol", "foldingRange",  "semanticTokens/full", "inlayHint",
    "prepareRename",     "rename",         "codeAction",    "formatting",          "rangeFormatting",
};

std::string RequestAt(const char* method, unsigned line, unsigned unit)
{
    const Json place = {{"line", line}, {"character", unit}};
    const Json request = {{"jsonrpc", "2.0"},
                          {"id", s_own},
                          {"method", std::string("textDocument/") + method},
                          {"params",
                           {{"textDocument", {{"uri", "file:///a.kds"}}},
                            {"position", place},
                            {"range", {{"start", {{"line", 0}, {"character", 0}}}, {"end", place}}},
                            {"newName", "x"}}}};
    return WriteJson(request);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const auto s_types = []
    {
        sample::RegisterOnce();
        return std::make_shared<const Types>(CatalogueOfRegisteredTypes());
    }();
    Host host;
    int numAnswers = 0;
    Server server(host,
                  [&](std::string_view body)
                  {
                      const Json message = ReadJson(body);
                      Require(message.is_object());
                      numAnswers += message.contains("id") && message["id"] == s_own ? 1 : 0;
                  });
    server.TakeTypes(s_types, {});
    server.Receive(R"({"id":0,"method":"initialize","params":{"capabilities":{}}})");
    FrameReader reader;
    int numRequests = 0;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty())
    {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.starts_with('!'))
            reader.Add(line.substr(1));
        else if (line.starts_with('='))
        {
            std::string text(line.substr(1));
            std::replace(text.begin(), text.end(), '\1', '\n');
            const unsigned at = static_cast<unsigned>(text.size()) / 2;
            const Json open = {
                {"method", "textDocument/didOpen"},
                {"params", {{"textDocument", {{"uri", "file:///a.kds"}, {"version", 1}, {"text", text}}}}}};
            server.Receive(WriteJson(open));
            for (const char* const method : s_methods)
            {
                server.Receive(RequestAt(method, 0, at));
                ++numRequests;
            }
            while (server.Work(false))
            {
            }
            Require(server.IsOver() || numAnswers == numRequests);
        }
        else
            server.Receive(line);
        while (const auto message = reader.Next())
            if (message->m_fault.empty())
                server.Receive(message->m_body);
            else
                server.ReceiveFault(message->m_fault);
        while (server.Work(false))
        {
        }
        if (server.IsOver())
            return 0;
    }
    return 0;
}
