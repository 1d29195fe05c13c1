#include "Mutants.h"

#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

constexpr unsigned long s_room = 1UL << 16;
unsigned char s_reached[s_room];

} // namespace

unsigned kelmMutantChosen = 0;
unsigned char* kelmMutantsReached = s_reached;

// Before anything of the libraries runs.
__attribute__((constructor(101))) static void ChooseMutant()
{
    if (const char* chosen = std::getenv("KELM_MUTANT"))
        kelmMutantChosen = static_cast<unsigned>(std::atoi(chosen));
    const char* name = std::getenv("KELM_MUTANTS_REACHED");
    const int file = name == nullptr ? -1 : open(name, O_RDWR);
    if (file < 0)
        return;
    void* map = mmap(nullptr, s_room, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (map != MAP_FAILED)
        kelmMutantsReached = static_cast<unsigned char*>(map);
    close(file);
}
