#include "srgb_profile.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

void put(std::string& bytes, std::uint32_t value, int size = 4) {
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
}

/// A signed number with 16 fraction bits.
void put_fixed(std::string& bytes, double value) {
    put(bytes, static_cast<std::uint32_t>(std::lround(value * 65536.0)));
}

std::string xyz(double x, double y, double z) {
    std::string bytes = "XYZ ";
    put(bytes, 0);
    for (const double value : {x, y, z}) put_fixed(bytes, value);
    return bytes;
}

std::string transfer_curve() {
    constexpr std::uint32_t kEntries = 1024;
    std::string bytes = "curv";
    put(bytes, 0);
    put(bytes, kEntries);
    for (std::uint32_t i = 0; i < kEntries; ++i) {
        const double c = i / (kEntries - 1.0);
        const double linear = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        put(bytes, static_cast<std::uint32_t>(std::lround(linear * 65535.0)), 2);
    }
    return bytes;
}

std::string description(const std::string& text) {
    std::string bytes = "desc";
    put(bytes, 0);
    put(bytes, static_cast<std::uint32_t>(text.size() + 1));
    bytes += text;
    // The end of the text, then no Unicode and no Macintosh name.
    bytes.append(1 + 4 + 4 + 2 + 1 + 67, '\0');
    return bytes;
}

}  // namespace

std::string SrgbProfile() {
    std::string copyright = "text";
    put(copyright, 0);
    copyright += "Free of rights";
    copyright += '\0';
    const std::string curve = transfer_curve();
    // White and primaries adapted to D50.
    const std::vector<std::pair<const char*, std::string>> tags = {{"desc", description("sRGB IEC61966-2.1")},
                                                                   {"cprt", copyright},
                                                                   {"wtpt", xyz(0.9642, 1.0, 0.8249)},
                                                                   {"rXYZ", xyz(0.43607, 0.22249, 0.01392)},
                                                                   {"gXYZ", xyz(0.38515, 0.71687, 0.09708)},
                                                                   {"bXYZ", xyz(0.14307, 0.06061, 0.7141)},
                                                                   {"rTRC", curve},
                                                                   {"gTRC", curve},
                                                                   {"bTRC", curve}};
    constexpr std::uint32_t kHeader = 128, kTagEntry = 12;
    std::string table, data;
    put(table, static_cast<std::uint32_t>(tags.size()));
    const std::uint32_t start = kHeader + 4 + kTagEntry * static_cast<std::uint32_t>(tags.size());
    const std::string* last = nullptr;
    std::uint32_t offset = 0;
    for (const auto& [name, bytes] : tags) {
        // The three curves are one.
        if (last == nullptr || *last != bytes) {
            offset = start + static_cast<std::uint32_t>(data.size());
            data += bytes;
            data.append((4 - data.size() % 4) % 4, '\0');
        }
        last = &bytes;
        table += name;
        put(table, offset);
        put(table, static_cast<std::uint32_t>(bytes.size()));
    }
    std::string profile;
    put(profile, start + static_cast<std::uint32_t>(data.size()));
    put(profile, 0);
    put(profile, 0x02100000);
    profile += "scnrRGB XYZ ";
    for (const std::uint32_t part : {2024U, 1U, 1U, 0U, 0U, 0U}) put(profile, part, 2);
    profile += "acsp";
    profile.append(68 - profile.size(), '\0');
    for (const double white : {0.9642, 1.0, 0.8249}) put_fixed(profile, white);
    profile.append(kHeader - profile.size(), '\0');
    return profile + table + data;
}
