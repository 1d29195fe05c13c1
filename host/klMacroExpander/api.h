#pragma once

// Marks what libklMacroExpander.so exports; everything else stays inside the library.
#define KLMACROEXPANDER_API __attribute__((visibility("default")))
