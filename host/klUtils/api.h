#pragma once

// Marks what libklUtils.so exports; everything else stays inside the library.
#define KLUTILS_API __attribute__((visibility("default")))
