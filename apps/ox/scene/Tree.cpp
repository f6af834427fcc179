#include "apps/ox/scene/Tree.h"

#include "apps/ox/base/Failure.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Ox {

namespace {

constexpr std::size_t deepest = 32;

/// Walks over a text and counts the lines that the parser has taken.
class Cursor {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    Cursor(const char* begin, std::size_t& countedLines) : at(begin), line(&countedLines) { }
    reference operator*() const { return *at; }
    Cursor& operator++()
    {
        *line += *at == '\n' ? 1 : 0;
        ++at;
        return *this;
    }
    Cursor operator++(int)
    {
        const Cursor before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Cursor& other) const { return at == other.at; }
    bool operator!=(const Cursor& other) const { return at != other.at; }

private:
    const char* at;
    std::size_t* line;
};

class Builder : public nlohmann::json_sax<nlohmann::json> {
public:
    Builder(std::string fileName, Node& top, const std::size_t& countedLines)
        : file(std::move(fileName)), root(top), line(countedLines)
    {
    }

    bool null() override { return Put(Node::Kind::Null) != nullptr; }
    bool boolean(bool value) override { return PutNumber(Node::Kind::Boolean, value ? 1 : 0); }
    bool number_integer(number_integer_t value) override
    {
        return PutNumber(Node::Kind::Number, static_cast<double>(value));
    }
    bool number_unsigned(number_unsigned_t value) override
    {
        return PutNumber(Node::Kind::Number, static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t&) override { return PutNumber(Node::Kind::Number, value); }
    bool binary(binary_t&) override { return false; }

    bool string(string_t& value) override
    {
        Put(Node::Kind::Text)->text = value;
        return true;
    }

    bool key(string_t& value) override
    {
        if (open.back()->Find(value) != nullptr)
            throw Failure(Status::Refused, file + ":" + std::to_string(line) + ": \"" + value + "\" stands twice");
        name = value;
        lineOfName = line;
        return true;
    }

    bool start_object(std::size_t) override { return Open(Node::Kind::Object); }
    bool start_array(std::size_t) override { return Open(Node::Kind::Array); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& error) override
    {
        const std::string text = error.what();
        throw Failure(Status::Refused, file + ":" + std::to_string(line) + ": " + text.substr(text.find("] ") + 2));
    }

private:
    Node* Put(Node::Kind kind)
    {
        Node* node = &root;
        if (!open.empty() && open.back()->kind == Node::Kind::Object) {
            open.back()->members.push_back({name, Node()});
            node = &open.back()->members.back().second;
            node->path = (open.back()->path.empty() ? "" : open.back()->path + ".") + name;
        } else if (!open.empty()) {
            node = &open.back()->items.emplace_back();
            node->path = open.back()->path + "[" + std::to_string(open.back()->items.size() - 1) + "]";
        }
        node->kind = kind;
        node->line = lineOfName;
        return node;
    }

    bool PutNumber(Node::Kind kind, double value)
    {
        Put(kind)->number = value;
        return true;
    }

    bool Open(Node::Kind kind)
    {
        if (open.size() == deepest)
            throw Failure(Status::Refused, file + ":" + std::to_string(line) + ": too many levels");
        // The address stands: nothing is added beside a node that is open.
        open.push_back(Put(kind));
        return true;
    }

    bool Close()
    {
        open.pop_back();
        return true;
    }

    std::string file, name;
    Node& root;
    const std::size_t& line;
    std::size_t lineOfName = 1;
    std::vector<Node*> open;
};

}

const Node* Node::Find(const std::string& name) const
{
    const auto found =
        std::find_if(members.begin(), members.end(), [&name](const auto& member) { return member.first == name; });
    return found == members.end() ? nullptr : &found->second;
}

Node ParseTree(const std::string& name, const std::string& text)
{
    Node root;
    std::size_t line = 1;
    Builder builder(name, root, line);
    nlohmann::json::sax_parse(Cursor(text.data(), line), Cursor(text.data() + text.size(), line), &builder);
    return root;
}

}
