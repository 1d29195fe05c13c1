// kelmscript: the command line tool. `kelmscript --help` tells what it does.

#include "commandline/Options.h"
#include "files/Modules.h"
#include "reporting/Diagnostics.h"
#include "reporting/Output.h"

#include <klObject/objects/Collector.h>

#include <cstring>
#include <exception>

namespace
{

using namespace kelm::tool;

int Run(int argc, char** argv)
{
    int exitCode = EXIT_OK;
    const Options options = ParseOptions(argc, argv, exitCode);
    if (options.m_run == nullptr)
        return exitCode;
    if (options.m_needsTypes && (!LoadModules(options.m_modules) || !LoadTypes(options.m_catalogues)))
        return EXIT_USAGE;
    exitCode = options.m_run(options);
    kelm::CollectGarbage();
    return exitCode;
}

// Output that did not arrive (a full disk) is a failure too.
int Flushed(int exitCode)
{
    FlushOutput();
    if (GetOutputError() == 0)
        return exitCode;
    UseJsonErrors(false); // they have gone the same way
    ReportError(std::string("cannot write standard output: ") + std::strerror(GetOutputError()));
    return EXIT_FAILED;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Flushed(Run(argc, argv));
    }
    catch (const std::exception& e)
    {
        ReportError(e.what());
        return EXIT_FAILED;
    }
}
