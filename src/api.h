#pragma once

// Marks what libklKelmScript.so exports; everything else stays inside the library.
#define KLKELMSCRIPT_API __attribute__((visibility("default")))
