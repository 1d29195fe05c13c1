#pragma once

#include <klMacroExpander/api.h>

// The library is loaded with the modules that stand on it; registering it announces nothing.
extern "C" KLMACROEXPANDER_API void Register_Project_klMacroExpander();
extern "C" KLMACROEXPANDER_API void Unregister_Project_klMacroExpander();
