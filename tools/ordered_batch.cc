#include "tools/ordered_batch.h"

#include <algorithm>
#include <exception>

#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>

namespace zyra::tool {

int32_t DefaultJobCount() {
  return std::max(1, tbb::info::default_concurrency());
}

int64_t RunOrderedBatch(FileList& names, int32_t nJobs, const BatchSteps& steps) {
  const int32_t jobs = std::max(1, nJobs);
  // The arena holds the pipeline to `jobs` threads; the control lets it have more threads than
  // cores when asked to (-j above the core count), for the length of this call.
  const tbb::global_control threads(tbb::global_control::max_allowed_parallelism,
                                    static_cast<std::size_t>(jobs));
  tbb::task_arena arena(jobs);
  int64_t nWritten = 0;
  arena.execute([&] {
    tbb::parallel_pipeline(
        static_cast<std::size_t>(jobs) * kFilesInFlightPerJob,
        tbb::make_filter<void, std::string>(tbb::filter_mode::serial_in_order,
                                            [&](tbb::flow_control& control) -> std::string {
                                              std::optional<std::string> name;
                                              if (!(steps.isCancelled && steps.isCancelled()))
                                                name = names.Next();
                                              if (!name) {
                                                control.stop();
                                                return {};
                                              }
                                              return std::move(*name);
                                            }) &
            tbb::make_filter<std::string, ReceiverRow>(
                tbb::filter_mode::parallel,
                [&](const std::string& sFile) -> ReceiverRow {
                  try {
                    return steps.evaluate(sFile);
                  } catch (const std::exception& error) {
                    return ErrorRow(sFile, error.what());
                  }
                }) &
            tbb::make_filter<ReceiverRow, void>(tbb::filter_mode::serial_in_order,
                                                [&](ReceiverRow row) {
                                                  steps.write(std::move(row));
                                                  ++nWritten;
                                                }));
  });
  return nWritten;
}

}  // namespace zyra::tool
