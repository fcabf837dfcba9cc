#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What became of a channel's last push, as frmChannelDetails shows it.
namespace kr {

struct DetailNode {
    std::string key;
    std::string text;
    std::string image;
    std::vector<DetailNode> children;
};

/// The root of each of the two trees.
struct ChannelDetails {
    DetailNode targets;
    DetailNode content;
};

/// Reads a result document; nothing when the body is none.
std::optional<ChannelDetails> ReadChannelDetails(std::string_view body);

} // namespace kr
