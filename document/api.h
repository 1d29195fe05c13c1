#pragma once

// Marks what libkelmDocument.so exports; everything else stays inside the library.
#define KELM_DOCUMENT_API __attribute__((visibility("default")))
