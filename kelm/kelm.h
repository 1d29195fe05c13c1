#pragma once

// The front door: all that a program includes.

#include <kelm/Describe.h>
#include <kelm/Error.h>
#include <kelm/Expression.h>
#include <kelm/Fields.h>
#include <kelm/Files.h>
#include <kelm/Language.h>
#include <kelm/Object.h>
#include <kelm/Result.h>
#include <kelm/Scope.h>
#include <kelm/Types.h>
#include <kelm/Value.h>
#include <kelm/Visit.h>
