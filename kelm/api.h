#pragma once

// Marks what libkelm.so exports; everything else stays inside the library.
#define KELM_API __attribute__((visibility("default")))
