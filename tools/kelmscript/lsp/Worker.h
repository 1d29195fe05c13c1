#pragma once

// The process in which modules live: whatever they do there, the one that talks to the editor goes on.
//
// Both talk in frames of JSON. The worker begins: { "types": ... }, the catalogue as `types --dump` writes it. Then,
// for each { "text": ... }, it answers { "findings": [ { "error", "message", "begin", "end" } ] }.

#include <kelm/private/FileDescriptor.h>
#include <kelmLanguage/server/Frames.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace kelm::tool
{

// Reads requests from standard input until it ends.
int RunWorker();

// The other end: a worker that runs, or none.
class Worker
{
public:
    Worker() = default;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() { Kill(); }

    // Runs this program with the modules; false, with errno, where it cannot be started.
    bool Start(const std::vector<std::string>& modules);
    bool IsRunning() const { return m_process > 0; }
    void Kill();

    // Goes on in the background.
    void Send(std::string_view body);

    int GetOutput() const { return m_output.get(); }
    int GetErrors() const { return m_errors.get(); }
    int GetInput() const { return m_input.get(); } // -1 where nothing waits to be written
    bool HasToWrite() const { return m_isSending; }

    // After poll has told that there is something. Messages are put behind those that are there; false at the end.
    bool Read(std::vector<language::Message>& messages);
    void Write();
    void PassErrors(); // to ours

    // After its end: how it ended, in words, and whether it refused the modules.
    std::string End(bool& hasRefused);

private:
    pid_t m_process = -1;
    FileDescriptor m_input;
    FileDescriptor m_output;
    FileDescriptor m_errors;
    language::FrameReader m_reader;
    std::string m_toSend;
    bool m_isSending = false;
    std::string m_lastErrors; // the end of what it wrote there
};

} // namespace kelm::tool
