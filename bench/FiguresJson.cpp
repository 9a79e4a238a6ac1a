#include "FiguresJson.h"

#include <cmath>
#include <cstdio>
#include <fstream>

#include "Results.h"

namespace velbench {

namespace {

// Keys are made here of letters, digits, dots and underscores; anything a
// JSON string cannot hold as it is gets escaped all the same.
std::string jsonString(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
            quoted += escaped;
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

std::string jsonNumber(double value)
{
    if (!std::isfinite(value)) {
        return "null";
    }
    char text[64];
    std::snprintf(text, sizeof(text), "%.17g", value);
    return text;
}

} // namespace

bool writeFiguresJson(const std::string& path)
{
    std::ofstream out(path);
    out << "{\n  \"figures\": {";
    const char* separator = "\n";
    for (const auto& [key, value] : Results::instance().values()) {
        out << separator << "    " << jsonString(key) << ": " << jsonNumber(value);
        separator = ",\n";
    }
    out << "\n  }\n}\n";
    return static_cast<bool>(out);
}

} // namespace velbench
