#pragma once

#include <string>
#include <string_view>

#include <tl/expected.hpp>

namespace orvane {

/// The domain that somebody means who types `input`, in the form in which the browser compares
/// domains: without blanks around it, the host of a URL or of what follows one in an address bar,
/// without the final dot, in lower case and in Punycode. An asterisk in front stays. What is no
/// domain after that is left for the validation to refuse; the error is a sentence.
tl::expected<std::string, std::string> domainFromInput(std::string_view input);

}  // namespace orvane
