#pragma once

// Marks what libklPersistStore.so exports; everything else stays inside the library.
#define KLPERSISTSTORE_API __attribute__((visibility("default")))
