#pragma once

// Describing a program's types: KELM_DESCRIBE(Order, customer, lines), KELM_DESCRIBE_ENUM(Colour, red, green), and the
// longer KELM_CLASS, whose members take .Named("port"), .Check(function) and .Required().

#include <klObject/describe/Describe.h>
