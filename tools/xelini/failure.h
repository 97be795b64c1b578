// How a command ends that cannot do what it was asked, and what it tells the person.
//
// Messages are lower case without a full stop, and name file, line, rule and remedy.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace xelini {

enum class Status {
    done = 0,
    // The content says no: a refused file, a missing key, differences, a change that would lose
    // something.
    refused = 1,
    // Wrong use, or the system would not read or write.
    failed = 2,
};

// Thrown by whatever cannot go on; the message goes behind "xelini: ".
struct Failure {
    Status status;
    std::string message;
};

// "FILE: text".
Failure refusedFile(const std::string& file, const std::string& text);
// "FILE:LINE: text"; lines count from 1.
Failure refusedLine(const std::string& file, std::size_t line, const std::string& text);
// "FILE: text: reason", the reason being what the host says of an error (host_errors.h).
Failure failedFile(const std::string& file, const std::string& text, int error);
Failure failedFile(const std::string& file, const std::string& text);

// One line on standard error.
void printMessage(std::string_view message);

} // namespace xelini
