#include "host/CVendor.h"
#include "qdmctl/AnswerJson.h"
#include "qdmctl/Command.h"
#include "qdmctl/ConfigReport.h"
#include "qdmctl/OutputFolder.h"
#include "qdmctl/Session.h"

namespace qdmctl {
namespace {

constexpr char dataFile[] = "Emulex_FcConfigInfo.json";

bool OpenOutput(Session& session, OutputFolder& output) {
    if (auto error = output.Open(session.options.output)) {
        session.answer.errors.push_back(std::move(*error));
        return false;
    }
    return true;
}

/// The provider writes where nobody else can; what it wrote is copied from there. Ports that could
/// not be read are in the document all the same, as the provider tells them.
CollectedReport Collect(Session& session) {
    std::vector<CVendor*> vendors;
    for (const PortSession& port : session.Ports()) {
        if (port.usable) {
            vendors.push_back(port.vendor.get());
        }
    }
    const std::string folder = session.ReportFolder();
    if (vendors.empty() || folder.empty()) {
        return {};
    }
    Step step = session.ReadingStep("collecting the report", nullptr);
    step.deadlineMs *= static_cast<unsigned>(vendors.size());
    CollectedReport report;
    session.Reading(step, [&] { report = CollectReport(vendors, folder); });
    return report;
}

/// The answer goes into a file beside the document as it goes to standard output.
void Write(Session& session, OutputFolder& output, CollectedReport report) {
    Answer& answer = session.answer;
    answer.report = WrittenReport{output.PathOf(reportFile), output.PathOf(dataFile),
                                  output.Holds(reportFile), std::move(report.ports)};
    Conclude(answer, session.options.command->schema);
    if (auto error = output.Write({{reportFile, report.document}, {dataFile, ToJson(answer)}})) {
        answer.report.reset();
        answer.errors.push_back(std::move(*error));
    }
}

void Report(Session& session, OutputFolder& output) {
    CollectedReport report = Collect(session);
    session.Publish();
    if (session.Stopped()) {
        return;
    }
    if (!report.ports.empty() && !report.document.empty()) {
        Write(session, output, std::move(report));
    } else if (session.answer.errors.empty()) {
        session.AddError(ErrorId::Internal, "the provider has left no report",
                         "run the command again with --trace FILE and report the trace");
    }
}

}  // namespace

Answer RunReport(const Options& options, Console& console) {
    Answer answer;
    Session session(options, console, answer);
    OutputFolder output;
    if (!session.Open() || !OpenOutput(session, output)) {
        return answer;
    }
    if (session.Link()) {
        session.ReadVersions(session.AllPorts());
        Report(session, output);
    }
    session.Publish();
    return answer;
}

}  // namespace qdmctl
