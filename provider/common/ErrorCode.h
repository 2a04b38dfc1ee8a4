#pragma once

/// Last-error codes of the provider. Operators know them by their numbers.
namespace ErrorCode {

enum Code : unsigned long {
    NullArgument = 1,
    ToolNotInstalled = 11,
    PciLocationUnknown = 13,
    NoMatchingAdapter = 14,
    NoAdapter = 15,
    DownloadNotConfirmed = 16,  ///< the tool never said that a download was complete
    FileOrCommand = 17,
    CacheFolderNotCreated = 18,
    FolderNotCreated = 19,
    ReportNotWritten = 25,
    NotUnpacked = 26,
    FolderNotRemoved = 28,
    NoSingleImage = 29,  ///< an image, package or script is missing, or there are several
    MalformedVersion = 30,
    ArchitectureNotSupported = 32,
    UpdateFailed = 33,
    NoEndMessage = 36,
    NoSuccessMessage = 37
};

}  // namespace ErrorCode
