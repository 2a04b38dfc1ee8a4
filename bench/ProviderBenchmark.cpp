#include "host/CTraceUtility.h"
#include "provider/common/AdapterTable.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/Trace.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <list>
#include <map>
#include <string>

// The provider's own work, without programs: on files of a private install root, by the real host
// libraries, with the trace off as on a server.

namespace {

constexpr const char* wwpn = "10:00:00:90:fa:10:00:00";

std::string PortRecord(long index) {
    const std::string number = std::to_string(index);
    return "\nPort WWN       : 10:00:00:90:fa:10:00:" + number +
           "\nNode WWN       : 20:00:00:90:fa:10:00:" + number +
           "\nFabric Name    : 00:00:00:00:00:00:00:00\nFlags          : 8000f980"
           "\nHost Name      : server\nMfg            : Emulex Corporation"
           "\nSerial No.     : EF16" +
           number + "\nPort Number    : " + number +
           "\nMode           : Initiator\nPCI Bus Number : " + number +
           "\nPCI Function   : 0\nPort Type      : FC\nModel          : EFC-1602\n";
}

void WriteListing(long ports) {
    std::ofstream file(WorkArea::AdapterList());
    file << "Manageable HBA List\n";
    for (long index = 0; index < ports; ++index) {
        file << PortRecord(index);
    }
}

void WriteAttributes() {
    std::ofstream(WorkArea::CacheFile("HbaAttrib10-00-00-90-fa-10-00-00.txt"))
        << "HBA Attributes for " << wwpn
        << "\n\nHost Name        : server\nManufacturer     : Emulex Corporation"
           "\nFW Version       : 11.2.156.20\nBoot Version     : 11.2.156.1"
           "\nDriver Name      : lpfc\nDriver Version   : 10.2.370.15; interface 2.3\n";
}

/// What a look-up of the last port does first.
void ScanListing(benchmark::State& state) {
    WriteListing(state.range(0));
    for (auto _ : state) {
        AdapterTable adapters(WorkArea::AdapterList());
        const auto ports = static_cast<std::size_t>(state.range(0));
        if (!adapters.Has(ports - 1) || adapters.Has(ports)) {
            state.SkipWithError("the listing was not read");
        }
    }
}
BENCHMARK(ScanListing)->Arg(8)->Arg(32)->Arg(256)->Unit(benchmark::kMicrosecond);

/// The same, with a record made of every port.
void ReadListing(benchmark::State& state) {
    WriteListing(state.range(0));
    for (auto _ : state) {
        std::list<std::map<std::string, std::string>> adapters;
        if (!CEmulexCommon::GetHBAInfoList(&adapters) ||
            adapters.size() != static_cast<std::size_t>(state.range(0))) {
            state.SkipWithError("the listing was not read");
        }
    }
}
BENCHMARK(ReadListing)->Arg(8)->Arg(32)->Arg(256)->Unit(benchmark::kMicrosecond);

void LookUpAttribute(benchmark::State& state) {
    WriteAttributes();
    for (auto _ : state) {
        std::string value;
        if (CEmulexCommon::GetHbaAttribData(wwpn, "Driver Version", value) != 0) {
            state.SkipWithError("the attribute was not found");
        }
    }
}
BENCHMARK(LookUpAttribute)->Unit(benchmark::kMicrosecond);

void ReadFirmwareVersion(benchmark::State& state) {
    WriteAttributes();
    CFC_EMULEX_16G_Firmware firmware("0000:03:00.0-10df-e200", wwpn);
    for (auto _ : state) {
        if (firmware.GetOperatingVersion() != "11.2.156.20") {
            state.SkipWithError("the version was not read");
        }
    }
}
BENCHMARK(ReadFirmwareVersion)->Unit(benchmark::kMicrosecond);

void CompareFourSegments(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            CEmulexCommon::CheckVendorVersion4SegNormal("11.2.156.20", "11.2.156.27"));
    }
}
BENCHMARK(CompareFourSegments);

void CompareFirmware(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(CEmulexCommon::CheckVendorVersionFCFirmware("2.02a3", "2.10a5"));
    }
}
BENCHMARK(CompareFirmware);

void TraceOff(benchmark::State& state) {
    for (auto _ : state) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s [%d] %s", wwpn, 1, "text");
    }
}
BENCHMARK(TraceOff);

}  // namespace

int main(int count, char** arguments) {
    ::unsetenv("QDM_TRACE");
    char root[] = "/tmp/qdm-bench-XXXXXX";
    if (::mkdtemp(root) == nullptr || ::setenv("QDM_INSTALL_PATH", root, 1) != 0 ||
        CEmulexCommon::CreateLocalDirectory() == 0) {
        std::cerr << "qdm_bench: no folder can be made below /tmp\n";
        return 1;
    }
    benchmark::Initialize(&count, arguments);
    const bool wrong = benchmark::ReportUnrecognizedArguments(count, arguments);
    if (!wrong) {
        benchmark::RunSpecifiedBenchmarks();
    }
    std::filesystem::remove_all(root);
    return wrong ? 1 : 0;
}
