#include "apps/ox/scene/Scene.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Words.h"
#include "apps/ox/scene/Tree.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

namespace Ox {

/// Made of the files in apps/ox/scenes when the program is built.
extern const std::pair<const char*, const char*> shippedScenes[];
extern const std::size_t countOfShippedScenes;

namespace {

std::array<double, 3> XyzOf(const std::array<double, 2>& xy)
{
    return {xy[0] / xy[1], 1, (1 - xy[0] - xy[1]) / xy[1]};
}

double Determinant(const std::array<double, 3>& a, const std::array<double, 3>& b, const std::array<double, 3>& c)
{
    return a[0] * (b[1] * c[2] - b[2] * c[1]) - b[0] * (a[1] * c[2] - a[2] * c[1]) + c[0] * (a[1] * b[2] - a[2] * b[1]);
}

/// Reads the fields of a scene, and says of a wrong one where it stands.
class SceneReader {
public:
    explicit SceneReader(std::string fileName) : file(std::move(fileName)) { }

    Scene Read(const Node& root)
    {
        Scene scene;
        Fields(root,
               {
                   {"title", [&](const Node& node) { Text(node); }},
                   {"instruments",
                    [&](const Node& node) {
                        Each(node, [&](const Node& item) { scene.instruments.push_back(Text(item)); });
                    }},
                   {"numbers", [&](const Node& node) { Numbers(node, scene.numbers); }},
                   {"samples", [&](const Node& node) { Curves(node, scene.samples); }},
                   {"lights", [&](const Node& node) { Curves(node, scene.lights); }},
                   {"rooms", [&](const Node& node) { Curves(node, scene.rooms); }},
                   {"strip",
                    [&](const Node& node) {
                        Each(node, [&](const Node& item) { scene.strip.push_back(ReadPatch(item)); });
                    }},
                   {"flashes",
                    [&](const Node& node) {
                        Each(node, [&](const Node& item) { scene.flashes.push_back(ReadFlash(item)); });
                    }},
                   {"display", [&](const Node& node) { scene.display = ReadDisplay(node); }},
               });
        if (scene.instruments.empty())
            Refuse(root, "names no \"instruments\"");
        return scene;
    }

private:
    using Taker = std::function<void(const Node&)>;

    [[noreturn]] void Refuse(const Node& node, const std::string& what) const
    {
        throw Failure(Status::Refused,
                      file + ":" + std::to_string(node.line) + ": " + (node.path.empty() ? "the scene" : node.path)
                          + ": " + what);
    }

    void Fields(const Node& node, const std::map<std::string, Taker>& takers) const
    {
        if (node.kind != Node::Kind::Object)
            Refuse(node, "is to be an object");
        Words known;
        for (const auto& [name, taker] : takers)
            known.push_back(name);
        for (const auto& [name, member] : node.members) {
            const auto taker = takers.find(name);
            if (taker == takers.end())
                Refuse(member, NotAccepted(name, "field", known));
            taker->second(member);
        }
    }

    void Each(const Node& node, const Taker& take) const
    {
        if (node.kind != Node::Kind::Array)
            Refuse(node, "is to be a list");
        for (const Node& item : node.items)
            take(item);
    }

    std::string Text(const Node& node) const
    {
        return node.kind == Node::Kind::Text ? node.text : (Refuse(node, "is to be a text"), "");
    }

    double Number(const Node& node, double least, double most) const
    {
        if (node.kind != Node::Kind::Number || !(node.number >= least && node.number <= most)) {
            std::ostringstream range;
            range << "is to be a number from " << least << " to " << most;
            Refuse(node, range.str());
        }
        return node.number;
    }

    void Numbers(const Node& node, std::vector<std::pair<std::string, double>>& numbers) const
    {
        if (node.kind != Node::Kind::Object)
            Refuse(node, "is to be an object");
        for (const auto& [name, member] : node.members)
            numbers.emplace_back(name, Number(member, -1e12, 1e12));
    }

    std::vector<float> Values(const Node& node) const
    {
        std::vector<float> values;
        Each(node, [&](const Node& item) { values.push_back(static_cast<float>(Number(item, 0, 1e6))); });
        if (values.empty())
            Refuse(node, "has no values");
        return values;
    }

    /// A number (the same everywhere), 36 values from 380 nm in steps of 10 nm, or an object with a grid of its own.
    Curve ReadCurve(const Node& node) const
    {
        constexpr std::size_t bands = 36;
        Curve curve;
        if (node.kind == Node::Kind::Number)
            curve.values.assign(bands, static_cast<float>(Number(node, 0, 1e6)));
        else if (node.kind == Node::Kind::Array) {
            curve.values = Values(node);
            if (curve.values.size() != bands)
                Refuse(node, "has " + std::to_string(curve.values.size()) + " values, not the 36 from 380 to 730 nm");
        } else {
            Fields(node,
                   {{"first_nm", [&](const Node& item) { curve.firstNm = Number(item, 100, 2000); }},
                    {"step_nm", [&](const Node& item) { curve.stepNm = Number(item, 0.01, 100); }},
                    {"values", [&](const Node& item) { curve.values = Values(item); }}});
            if (curve.values.empty())
                Refuse(node, "has no \"values\"");
        }
        return curve;
    }

    void Curves(const Node& node, std::vector<Curve>& curves) const
    {
        Each(node, [&](const Node& item) { curves.push_back(ReadCurve(item)); });
    }

    Scene::Patch ReadPatch(const Node& node) const
    {
        Scene::Patch patch;
        Fields(node,
               {{"name", [&](const Node& item) { Text(item); }},
                {"reflectance", [&](const Node& item) { patch.reflectance = ReadCurve(item); }},
                {"seconds", [&](const Node& item) { patch.seconds = Number(item, 0, 3600); }},
                {"edge_seconds", [&](const Node& item) { patch.edgeSeconds = Number(item, 0, 3600); }}});
        if (patch.reflectance.values.empty())
            Refuse(node, "has no \"reflectance\"");
        return patch;
    }

    Scene::Flash ReadFlash(const Node& node) const
    {
        Scene::Flash flash;
        Fields(node,
               {{"start", [&](const Node& item) { flash.start = Number(item, 0, 3600); }},
                {"duration", [&](const Node& item) { flash.duration = Number(item, 0, 3600); }},
                {"irradiance", [&](const Node& item) { flash.irradiance = ReadCurve(item); }}});
        if (flash.irradiance.values.empty())
            Refuse(node, "has no \"irradiance\"");
        return flash;
    }

    std::array<double, 2> Chromaticity(const Node& node) const
    {
        if (node.kind != Node::Kind::Array || node.items.size() != 2)
            Refuse(node, "is to be x and y");
        return {Number(node.items[0], 0, 1), Number(node.items[1], 0.001, 1)};
    }

    Scene::Display ReadDisplay(const Node& node) const
    {
        Scene::Display display;
        const auto primary = [&](std::size_t which) {
            return [&, which](const Node& item) { display.primaries[which] = Chromaticity(item); };
        };
        Fields(node,
               {{"red", primary(0)},
                {"green", primary(1)},
                {"blue", primary(2)},
                {"white", [&](const Node& item) { display.white = Chromaticity(item); }},
                {"luminance", [&](const Node& item) { display.luminance = Number(item, 0.1, 10000); }},
                {"black", [&](const Node& item) { display.black = Number(item, 0, 100); }},
                {"gamma", [&](const Node& item) { display.gamma = Number(item, 0.5, 5); }}});
        if (std::abs(Determinant(XyzOf(display.primaries[0]), XyzOf(display.primaries[1]), XyzOf(display.primaries[2])))
            < 1e-6)
            Refuse(node, "the primaries lie on one line");
        return display;
    }

    std::string file;
};

std::string ReadText(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!stream.good() && text.empty())
        throw Failure(Status::Refused, path + ": no such scene; there are " + Join(ShippedScenes()) + ", and files");
    return text;
}

}

std::array<double, 3> Scene::Display::Show(const std::array<double, 3>& drive) const
{
    const std::array<double, 3> red = XyzOf(primaries[0]), green = XyzOf(primaries[1]), blue = XyzOf(primaries[2]),
                                all = XyzOf(white);
    // How much of each primary makes the white, by Cramer's rule.
    const double whole = Determinant(red, green, blue);
    const std::array<double, 3> shares = {Determinant(all, green, blue) / whole, Determinant(red, all, blue) / whole,
                                          Determinant(red, green, all) / whole};
    std::array<double, 3> xyz{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double mixed = shares[0] * std::pow(drive[0], gamma) * red[i]
            + shares[1] * std::pow(drive[1], gamma) * green[i] + shares[2] * std::pow(drive[2], gamma) * blue[i];
        xyz[i] = std::max(0.0, (luminance - black) * mixed) + black * all[i];
    }
    return xyz;
}

std::vector<std::string> ShippedScenes()
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < countOfShippedScenes; ++i)
        names.emplace_back(shippedScenes[i].first);
    return names;
}

Scene ReadScene(const std::string& name)
{
    for (std::size_t i = 0; i < countOfShippedScenes; ++i)
        if (name == shippedScenes[i].first)
            return SceneReader(name).Read(ParseTree(name, shippedScenes[i].second));
    return SceneReader(name).Read(ParseTree(name, ReadText(name)));
}

}
