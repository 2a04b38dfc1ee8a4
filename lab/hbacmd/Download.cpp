#include "lab/hbacmd/Download.h"

#include "lab/hbacmd/Adapters.h"
#include "lab/hbacmd/Image.h"

namespace {

constexpr const char* family16G = "fcelx_16g";

void CheckImageFits(const Image& image, const Port& port) {
    constexpr int wrongModel = 432;
    constexpr int wrongKind = 433;
    if (image.family != port.family) {
        throw Refusal(wrongModel, "the image is made for " + image.family + ", this adapter is a " +
                                      port.model + " (" + port.family + ")");
    }
    const bool takesBios = port.family != family16G;
    if (image.kind != "firmware" && !(image.kind == "bios" && takesBios)) {
        throw Refusal(wrongKind, "this adapter takes no image of kind " + image.kind);
    }
}

void ShowProgress(const Faults& faults, Reply& reply) {
    constexpr int steps = 10;
    const long duration =
        ParseNumber(FactOf(ReadServerFacts("settings"), "download_ms")).value_or(0);
    for (int step = 1; step <= steps; ++step) {
        PauseMilliseconds(duration / steps);
        reply.Line("Flashing... " + std::to_string(step * 100 / steps) + "%");
        reply.Flush();
        if (step != steps / 2) {
            continue;
        }
        if (faults.Has("hang")) {
            HangForever();
        }
        if (faults.Has("crash")) {
            static_cast<void>(reply.Finish(0));
        }
    }
}

void Flash(const Image& image, Facts& facts) {
    facts["flashed." + image.kind] = image.version;
    if (!image.biosVersion.empty()) {
        facts["flashed.bios"] = image.biosVersion;
    }
    if (FactOf(facts, "activation") == "immediate") {
        Activate(facts);
    }
}

}  // namespace

void Download(const std::string& wwpn, const std::string& imageFile, const Faults& faults,
              Reply& reply) {
    const Port port = FindPort(wwpn);
    const Image image = ReadImage(imageFile);
    CheckImageFits(image, port);
    reply.Line("Downloading " + imageFile + " to " + wwpn);
    if (faults.Has("no-effect")) {
        ShowProgress(faults, reply);
        reply.Line("Download Complete");
        return;
    }
    const FileLock lock(AdapterLockFile(port.adapter));
    Facts facts = ReadAdapter(port.adapter);
    // A download that is cut short leaves this behind, as a real one leaves half an image.
    facts["flashing." + image.kind] = "1";
    WriteAdapter(port.adapter, facts);
    ShowProgress(faults, reply);
    Flash(image, facts);
    facts.erase("flashing." + image.kind);
    WriteAdapter(port.adapter, facts);
    reply.Line(faults.Has("wrong") ? "Reset Complete" : "Download Complete");
}

void ResetAdapter(const std::string& wwpn, Reply& reply) {
    const Port port = FindPort(wwpn);
    const FileLock lock(AdapterLockFile(port.adapter));
    Facts facts = ReadAdapter(port.adapter);
    Activate(facts);
    WriteAdapter(port.adapter, facts);
    reply.Line("Reset Complete");
}
