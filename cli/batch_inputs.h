#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// One file to draw.
struct BatchInput {
    std::string path;
    /// Where its pictures go, below the output folder: without a suffix, and unlike any other's.
    std::string name;
    /// What a share is chosen by: of the path below the folder that was given, or of the path as it was
    /// given.
    std::uint64_t hash = 0;
    /// It lies in a folder that was given. Nobody asked for what is not an image there.
    bool isFound = false;
};

struct BatchInputs {
    std::vector<BatchInput> files;
    /// Files in folders that are not DICOM.
    std::size_t skipped = 0;
    /// A folder, a list or a DICOMDIR was given, or more than one file.
    bool areMany = false;
};

/// Files, folders with all that is in them, DICOMDIR files, "@LIST" (a path on each line; "@-" from standard
/// input) and "-" (a file on standard input, which is kept in `scratch`). In the order given, folders sorted
/// by name. Throws PresentError for what is not there.
BatchInputs FindInputs(const std::vector<std::string>& given, const std::string& scratch);

/// A share of the inputs, "2/8".
struct Shard {
    std::uint64_t index = 1, count = 1;
    bool Has(std::uint64_t hash) const { return hash % count == index - 1; }
};
/// The 64-bit FNV-1a hash, the same on every machine.
std::uint64_t ShardHash(const std::string& key);
std::optional<Shard> ParseShard(const std::string& text);

/// Frames from 0, both ends included.
struct FrameRange {
    int first = 0, last = 0;
    bool isSingle = true;
};
/// "5", "3-9" or "all".
std::optional<FrameRange> ParseFrames(const std::string& text);
