// Goes up: support includes the evaluation.
#include "zyra/calc/results.h"
#include "zyra/support/errors.h"
