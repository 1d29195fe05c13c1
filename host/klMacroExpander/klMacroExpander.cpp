#include <klMacroExpander/klMacroExpander.h>

void Register_Project_klMacroExpander() {}

void Unregister_Project_klMacroExpander() {}
