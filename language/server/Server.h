#pragma once

// Server: answers an editor's messages in the language server protocol (3.17) about documents of data sources.
//
// Messages come as the bodies of frames, and wait in a queue until Work is called; so what is cancelled meanwhile is
// never begun, and diagnostics are made when nothing else is waiting. What it knows of types it is told, by whoever
// runs it: a host, which also reads documents as programs do, elsewhere. Nothing that a client sends ends it, but
// `exit`.

#include <kelmDocument/Format.h>
#include <kelmLanguage/Types.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

// Longer texts are kept, but not looked at.
inline constexpr std::size_t s_longestText = std::size_t{16} << 20;

// Where types come from: named by the user's settings alone.
struct TypeSettings
{
    std::vector<std::string> m_modules;
    std::string m_typesFile;
    double m_readingLimit = 10; // seconds, in which a text is read, or does not end

    friend bool operator==(const TypeSettings&, const TypeSettings&) = default;
};

// What is wrong with a text, by whoever has read it.
struct ReadFinding
{
    bool m_isError = true;
    std::string m_message;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

// Of the server, what only a process can do. Each call returns at once.
class ServerHost
{
public:
    virtual ~ServerHost() = default;

    virtual void UseTypes(const TypeSettings& settings) = 0;

    // Reads a text, which is answered by Server::TakeFindings; false where nobody can now. Each text has an edition of
    // its own, whatever versions clients count.
    virtual bool ReadText(const std::string& uri, long long edition, std::string_view text) = 0;

    // How a file is laid out, with what holds where its project says nothing; nothing, but why, where that is wrong.
    virtual std::optional<FormatOptions> FindLayout(const std::string& path, const FormatOptions& otherwise,
                                                    std::string& why) = 0;

    // Writes a text that an editor is shown; its path, empty where that fails.
    virtual std::string WriteShown(const std::string& name, const std::string& text) = 0;
};

class Server
{
public:
    // Sends the body of a message.
    using Send = std::function<void(std::string_view body)>;

    Server(ServerHost& host, Send send);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server();

    // Messages wait until Work is called.
    void Receive(std::string_view body);
    void ReceiveFault(std::string_view why); // what came was none

    // Does what has waited longest: false where nothing does. Requests about types are not begun before they are known.
    bool Work(bool areTypesAwaited);

    // The types are those from now on; `why` there are none, or not all, where that is so.
    void TakeTypes(std::shared_ptr<const Types> types, std::string_view why);
    void TakeFindings(const std::string& uri, long long edition, const std::vector<ReadFinding>& findings);
    // Whoever would read a text no longer does.
    void ReadAgain(const std::string& uri);

    // A message for the user.
    void Show(std::string_view message, bool isError);

    bool IsOver() const;
    int GetExitCode() const; // 0 behind a shutdown

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace kelm::language
