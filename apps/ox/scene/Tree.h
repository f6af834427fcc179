#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Ox {

struct Member;

/// A value of a JSON file that knows where it stands.
struct Node {
    enum class Kind { Null, Boolean, Number, Text, Array, Object };
    Kind kind = Kind::Null;
    std::size_t line = 1; ///< of its name, or of the nearest name before it
    std::string path;     ///< "strip.patches[3].seconds"
    double number = 0;
    std::string text;
    std::vector<Node> items;     ///< of an array
    std::vector<Member> members; ///< of an object, in order

    /// Null where there is none.
    const Node* Find(const std::string& name) const;
};

/// A value of an object, by its name.
struct Member {
    std::string first;
    Node second;
};

/// @param name  of the file, for what is refused
/// @throws Failure "NAME:LINE: what"
Node ParseTree(const std::string& name, const std::string& text);

}
