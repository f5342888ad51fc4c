// Work over many files on several threads with the results in input order: a pipeline that reads
// names one after the other, evaluates up to nJobs files at once and hands the rows on in the
// order the names came, with a bounded number of files between reading and writing so that the
// memory does not grow with the number of files.
#ifndef ZYRA_TOOLS_ORDERED_BATCH_H_
#define ZYRA_TOOLS_ORDERED_BATCH_H_

#include <cstdint>
#include <functional>
#include <string>

#include "tools/file_list.h"
#include "tools/receiver_row.h"

namespace zyra::tool {

// Files in flight per thread: enough for a thread to start the next file while a slow one ahead
// of it holds back the rows behind it.
inline constexpr int32_t kFilesInFlightPerJob = 4;

// The machine's cores as this process may use them.
int32_t DefaultJobCount();

struct BatchSteps {
  // Makes the row of one file. Runs on many threads at once, each call with its own file; it
  // should not throw (an exception becomes the file's error row).
  std::function<ReceiverRow(const std::string&)> evaluate;
  // Takes the rows one at a time, in input order.
  std::function<void(ReceiverRow)> write;
  // Asked before each new name is taken; true stops the batch after the files under way.
  std::function<bool()> isCancelled;
};

// Runs the batch over every name of `names` with nJobs threads (at least 1) and answers the
// number of rows written.
int64_t RunOrderedBatch(FileList& names, int32_t nJobs, const BatchSteps& steps);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_ORDERED_BATCH_H_
