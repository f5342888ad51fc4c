// Stands on the container: allowed.
#include "zyra/rsp/probe_rsp.h"
