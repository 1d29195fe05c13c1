#pragma once

#include <klPersistStore/api.h>

// Registers the project and what it stands on, and lets persistent references load through the object store; later
// calls do nothing.
extern "C" KLPERSISTSTORE_API void Register_Project_klPersistStore();
extern "C" KLPERSISTSTORE_API void Unregister_Project_klPersistStore();
