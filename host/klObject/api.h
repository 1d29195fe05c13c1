#pragma once

// Marks what libklObject.so exports; everything else stays inside the library.
#define KLOBJECT_API __attribute__((visibility("default")))
