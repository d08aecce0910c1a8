#pragma once

#include <COM/com_types.h>
#include <HOST_Export.h>

#include <stdexcept>
#include <string>

/// The configuration behind PRM_ITree: one JSON text for the process, with comments allowed.
///
///     { "settings": { "windowing": { "always_window_full_range": 1 } },
///       "trees":    { "windowing": { "procedure": [ { "Modality": "CT", ... }, { ... } ] } } }
///
/// "settings" is the root node that paths address, "trees" holds what OpenTree opens by name. Objects are sub
/// trees, an array of objects is a run of sub trees of one name, and so is a name that occurs twice. Texts,
/// numbers and booleans are keys; of two keys with one name the later value counts. Null reads as absent, and
/// so does anything but an object in an array.
///
/// At the start the file in the environment variable ZEV_CONFIG is used, else the built-in text. A loaded
/// configuration never changes: objects made from it keep it when another one is loaded. Every function here
/// may be called on any thread.
namespace refhost {

/// A configuration that cannot be read. what() reads "FILE:LINE:COLUMN: reason", without the numbers when the
/// file itself cannot be read.
class HOST_API ConfigError : public std::runtime_error {
public:
    ConfigError(const std::string& file, std::size_t line, std::size_t column, const std::string& reason);
    ~ConfigError() override;

    const std::string& File() const { return m_File; }
    /// From 1; 0 when the error belongs to no place.
    std::size_t Line() const { return m_Line; }
    /// From 1, in bytes; 0 when the error belongs to no place.
    std::size_t Column() const { return m_Column; }
    const std::string& Reason() const { return m_Reason; }

private:
    std::string m_File;
    std::size_t m_Line;
    std::size_t m_Column;
    std::string m_Reason;
};

/// Deepest nesting of objects and arrays.
constexpr std::size_t kMaxConfigDepth = 64;
/// Largest configuration file in bytes.
constexpr std::size_t kMaxConfigBytes = 16u << 20;

/// The built-in configuration as JSON text.
HOST_API const char* BuiltinConfigText();

/// Each replaces the configuration, or throws ConfigError and leaves it as it was. `name` takes the place
/// of the file in error texts.
HOST_API void LoadConfigFile(const std::string& path);
HOST_API void LoadConfigText(const std::string& text, const std::string& name);
HOST_API void UseBuiltinConfig();

/// Loads the configuration of the start if none is loaded yet; throws ConfigError when it is broken. Without
/// this call a broken file shows only as a failed creation of the configuration object.
HOST_API void EnsureConfig();

/// Throws ConfigError, with the file's name and what is wrong, unless the configuration in use has exactly
/// one tree of that name for OpenTree, an object with sub trees in it. The library itself takes a tree that
/// it does not find, or that has another shape, for an empty one; a program that lists what is in a tree
/// calls this first. Throws too when the configuration cannot be read.
HOST_API void RequireConfigTree(const std::string& name);

/// Name of the configuration in use: a file, "built-in", or empty before the first use.
HOST_API std::string ConfigName();

/// For tests: while `result` is a failure, creating a configuration or iterator object answers with it.
HOST_API void FailConfigCreation(HRESULT result);
/// For tests: while `result` is a failure, every operation of a tree or iterator answers with it, from the
/// one that follows the next `passes` operations on.
HOST_API void FailConfigReads(HRESULT result, int passes = 0);

}  // namespace refhost
