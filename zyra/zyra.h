// The umbrella header of zyra: every public class of the library. Programs start with the
// facade (zyra::Response); the system's classes underneath stay available.
#ifndef ZYRA_ZYRA_H_
#define ZYRA_ZYRA_H_

#include "zyra/version.h"

// Support services
#include "zyra/support/busy_indicator.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/calculation.h"
#include "zyra/support/errors.h"
#include "zyra/support/flags.h"
#include "zyra/support/levels.h"
#include "zyra/support/logger.h"
#include "zyra/support/text_form.h"

// Response file format: the file and block headers and the one walk over a file's blocks
#include "zyra/format/block_walk.h"
#include "zyra/format/file_header.h"
#include "zyra/format/rsp_block_header.h"

// Response file container, text and local-reverberation blocks
#include "zyra/rsp/host_sequence.h"
#include "zyra/rsp/local_rt_info.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/rsp/rsp_info_text.h"

// Descriptive info blocks
#include "zyra/info/etc_info.h"
#include "zyra/info/obst_info.h"
#include "zyra/info/obst_info_buffer.h"
#include "zyra/info/prediction_info.h"
#include "zyra/info/probe_info.h"

// System response model
#include "zyra/response/lsp_info.h"
#include "zyra/response/lsp_info_buffer.h"
#include "zyra/response/puls.h"
#include "zyra/response/puls_buffer.h"
#include "zyra/response/system_response.h"

// Energy-time evaluation
#include "zyra/calc/calc_results.h"
#include "zyra/calc/counted_pulses.h"
#include "zyra/calc/energy_time_process.h"
#include "zyra/calc/energy_time_response.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/calc/schroeder_parameters.h"
#include "zyra/calc/speech_transmission.h"

// The facade: a response by path in one call, results as plain values
#include "zyra/facade/band_table.h"
#include "zyra/facade/evaluation.h"
#include "zyra/facade/host_outcomes.h"
#include "zyra/facade/model_tables.h"
#include "zyra/facade/response.h"
#include "zyra/facade/response_error.h"
#include "zyra/facade/text_forms.h"

#endif  // ZYRA_ZYRA_H_
