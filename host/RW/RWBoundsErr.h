#pragma once

#include <HOST_Export.h>

#include <cstddef>
#include <stdexcept>
#include <string>

/// Raising an index error:
///
///     RWThrow(RWBoundsErr(RWMessage(RWTOOL_INDEXERR(), index, count)));

/// Text of an index error with two places, for the index and for the count.
HOST_API const char* RWTOOL_INDEXERR();

/// A message text with the numbers put in.
class HOST_API RWMessage {
public:
    /// Each "%1" in `text` becomes `index`, each "%2" becomes `count`. A null text is empty.
    RWMessage(const char* text, std::size_t index, std::size_t count);
    const std::string& str() const { return m_Text; }

private:
    std::string m_Text;
};

/// An index beyond the end of a collection.
class HOST_API RWBoundsErr : public std::out_of_range {
public:
    explicit RWBoundsErr(const RWMessage& message);
    ~RWBoundsErr() override;
};

template <class Error>
[[noreturn]] void RWThrow(const Error& error) {
    throw error;
}

/// Raises the index error of a list with `count` entries; the collections' own checks come here.
[[noreturn]] HOST_API void RWThrowIndexError(std::size_t index, std::size_t count);
