#pragma once

// The process in which modules live: whatever they do there, the one that talks to the editor goes on.
//
// Both talk in frames of JSON. The worker begins: { "types": ... }, the catalogue of its modules as `types --json`
// writes it, without defaults; then { "catalogues": ... }, why the types of the files beside them cannot be had, or
// nothing. It is asked, and answers:
//
//     { "make": [ CLASS ... ] }    for each { "made": CLASS, "defaults": [ TEXT or null ... ] }, those of its members
//     { "text": ... }              { "findings": [ { "error", "message", "begin", "end" } ] }

#include <kelm/private/files/FileDescriptor.h>
#include <kelm/private/types/TypeCatalogue.h>
#include <kelmLanguage/server/Frames.h>
#include <kelmLanguage/server/Json.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace kelm::tool
{

// What a worker loads.
struct WorkerTypes
{
    std::vector<std::string> m_modules;
    std::vector<std::string> m_catalogues;

    friend bool operator==(const WorkerTypes&, const WorkerTypes&) = default;
};

// Reads requests from standard input until it ends.
int RunWorker(const WorkerTypes& types);

// The other end: a worker that runs, or none.
class Worker
{
public:
    Worker() = default;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() { Kill(); }

    // Runs this program with the types; false, with errno, where it cannot be started.
    bool Start(const WorkerTypes& types);
    bool IsRunning() const { return m_process > 0; }
    void Kill();

    // Goes on in the background.
    void Send(const language::Json& message);

    int GetOutput() const { return m_output.get(); }
    int GetErrors() const { return m_errors.get(); }
    int GetInput() const { return m_input.get(); } // -1 where nothing waits to be written
    bool HasToWrite() const { return m_isSending; }

    // After poll has told that there is something: some of it, so that one that never ends to speak keeps nobody.
    // Messages are put behind those that are there; false at the end.
    bool Read(std::vector<language::Message>& messages);
    void Write();
    void PassErrors(); // to ours, as far as they are taken there

    // The processor's time that it has had.
    std::chrono::nanoseconds GetTimeUsed() const;

    // After its end: how it ended, in words, and whether it refused the modules.
    std::string End(bool& hasRefused);

private:
    void Close();

    pid_t m_process = -1;
    FileDescriptor m_input;
    FileDescriptor m_output;
    FileDescriptor m_errors;
    language::FrameReader m_reader;
    std::string m_toSend;
    bool m_isSending = false;
    std::string m_lastErrors; // the end of what it wrote there
};

// How long a worker may take for what it is asked: so much of the processor's time, and ten times as long if it waits
// for something else.
class Allowance
{
public:
    using Clock = std::chrono::steady_clock;

    void Begin(const Worker& worker, double seconds);
    void End() { m_isRunning = false; }
    bool IsRunning() const { return m_isRunning; }

    // When it is to be looked at again.
    Clock::time_point GetNext() const { return m_next; }

    // Empty, or how it has ended.
    std::string Look(const Worker& worker);

private:
    bool m_isRunning = false;
    double m_seconds = 0;
    std::chrono::nanoseconds m_usedBefore{0};
    Clock::time_point m_begin;
    Clock::time_point m_next;
};

// What new objects of classes hold, told by workers: class by class, so that one of which creation ends its worker is
// left out, and no other is made twice.
class Making
{
public:
    // Of those whose defaults are not known. They stay where they are until it is over.
    void Begin(std::vector<CatalogueClass>& classes);
    bool IsOver() const { return m_next == m_names.size(); }

    void Ask(Worker& worker) const;
    // What a worker has answered; false where that is about something else.
    bool Take(const language::Json& message);
    // The worker has ended.
    void LeaveOut(const std::string& how);

    // Of which classes it is not known, and why; empty where there is none.
    std::string GetFault() const;

private:
    std::vector<CatalogueClass>* m_classes = nullptr;
    std::vector<std::string> m_names; // to be made
    std::size_t m_next = 0;
    std::vector<std::string> m_leftOut;
    std::string m_how; // the last one's end
};

// The same for whoever can wait for it. Returns the fault.
std::string TellDefaultsBeside(std::vector<CatalogueClass>& classes, const WorkerTypes& types);

} // namespace kelm::tool
