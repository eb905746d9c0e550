#pragma once

#include "kov_sdk/Job_p.h"

namespace KovService {

/**
 * Collects a problem report in the program "kovsdk-collect-report" beside the host's program (or in
 * ../libexec), on a thread of its own, and ends the job. A job that has ended, or that nobody holds any more,
 * ends the program.
 *
 * The program gets one JSON object on its standard input: "kind", "archive" (where to write it; empty for the
 * old schema) and "clientPart" (a document). It answers lines "progress <percent>" and at last "result
 * <code> <size>" with the main document's bytes behind it.
 */
void collectReport(const std::shared_ptr<Job> &job, uint32_t kind, const std::string &clientPart);

/// Empty restores the default.
void setReportFolder(const std::string &path);

} // namespace KovService
