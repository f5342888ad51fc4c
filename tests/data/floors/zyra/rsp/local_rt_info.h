// Goes up: a block includes the container beside it.
#include "zyra/format/block_walk.h"
#include "zyra/rsp/probe_rsp.h"
