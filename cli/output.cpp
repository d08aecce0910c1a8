#include "output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <sstream>

#include "io/printable.h"

namespace {

constexpr int kSchema = 1;
constexpr std::size_t kNameColumn = 22;

}  // namespace

Json WithSchema(const Json& object) {
    Json result = {{"schema", kSchema}};
    result.update(object);
    return result;
}

void PrintJson(std::ostream& out, const Json& result, int indent) {
    Json stamped = result.is_object() ? WithSchema(result) : Json::array();
    if (result.is_array()) {
        for (const Json& object : result) stamped.push_back(WithSchema(object));
    }
    out << stamped.dump(indent, ' ', false, Json::error_handler_t::replace) << "\n";
}

std::string NameColumn(const std::string& name) {
    const std::string shown = Printable(name);
    // Columns are counted in characters, not in bytes.
    const auto length = static_cast<std::size_t>(std::count_if(shown.begin(), shown.end(), [](char sign) {
        return (static_cast<unsigned char>(sign) & 0xC0) != 0x80;
    }));
    return shown + std::string(length < kNameColumn ? kNameColumn - length : 1, ' ');
}

std::string Wrapped(const std::string& help, std::size_t columns) {
    std::string result;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line); result += line + "\n") {
        // A description starts behind the last run of two blanks or more.
        const std::size_t gap = line.rfind("  ");
        const std::size_t indent = gap == std::string::npos ? 0 : gap + 2;
        while (line.size() > columns && indent < columns / 2) {
            const std::size_t end = line.rfind(' ', columns);
            if (end == std::string::npos || end <= indent) break;
            result += line.substr(0, end) + "\n";
            line = std::string(indent, ' ') + line.substr(end + 1);
        }
    }
    return result;
}

std::size_t TerminalColumns() {
    constexpr std::size_t kUnknown = 80, kLeast = 40, kMost = 110;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUnknown;
    return std::clamp<std::size_t>(size.ws_col, kLeast, kMost);
}
