#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ox {

/// One field of a table or a file.
struct Column {
    enum class Kind { Text, Number };
    std::string name; ///< stable: "lab_l", "nm380"; in CGATS in capitals, a band as "SPECTRAL_NM380"
    std::string head; ///< for people, with the unit: "Y cd/m²"
    Kind kind = Kind::Text;
    int decimals = 2; ///< of a number, for people

    bool IsNumber() const { return kind == Kind::Number; }
};

/// What stands above the rows: conditions and the like, by name. In CGATS and JSON only.
struct Remark {
    std::string name; ///< "ILLUMINANT"; lower case in JSON
    std::string value;
};

struct Schema {
    std::vector<Column> columns;
    std::vector<Remark> remarks;

    std::size_t CountNumbers() const;
    std::size_t CountTexts() const { return columns.size() - CountNumbers(); }
    /// The value of a remark, "" if there is none.
    std::string GetRemark(std::string_view name) const;
};

/// The fields of a colour space, in order.
struct SpaceRow {
    const char* space; ///< the library's text
    std::array<const char*, 3> names;
    std::array<const char*, 3> heads;
    std::array<int, 3> decimals;
};

inline constexpr std::array spaceTable = {
    SpaceRow{"CIELab", {"lab_l", "lab_a", "lab_b"}, {"L*", "a*", "b*"}, {2, 2, 2}},
    SpaceRow{"CIEXYZ", {"xyz_x", "xyz_y", "xyz_z"}, {"X", "Y", "Z"}, {3, 3, 3}},
    SpaceRow{"CIExyY", {"xyy_x", "xyy_y", "xyy_capy"}, {"x", "y", "Y"}, {4, 4, 3}},
    SpaceRow{"CIELCh", {"lab_l", "lab_c", "lab_h"}, {"L*", "C*", "h °"}, {2, 2, 2}},
    SpaceRow{"CIELuv", {"luv_l", "luv_u", "luv_v"}, {"L*", "u'", "v'"}, {2, 4, 4}},
    SpaceRow{"CIELChuv", {"lchuv_l", "lchuv_c", "lchuv_h"}, {"L*", "C", "h °"}, {2, 4, 2}},
    SpaceRow{"CIEuvY1960", {"uvy1960_u", "uvy1960_v", "uvy1960_y"}, {"u", "v", "Y"}, {4, 4, 3}},
    SpaceRow{"CIEuvY1976", {"uvy1976_u", "uvy1976_v", "uvy1976_y"}, {"u'", "v'", "Y"}, {4, 4, 3}},
    SpaceRow{"HunterLab", {"hunter_l", "hunter_a", "hunter_b"}, {"Hunter L", "a", "b"}, {2, 2, 2}},
    SpaceRow{"RxRyRz", {"rx", "ry", "rz"}, {"Rx", "Ry", "Rz"}, {2, 2, 2}},
    SpaceRow{"LABvd", {"labvd_l", "labvd_a", "labvd_b"}, {"LABvd L", "a", "b"}, {2, 2, 2}},
    SpaceRow{"LCHvd", {"lchvd_l", "lchvd_c", "lchvd_h"}, {"LCHvd L", "C", "h °"}, {2, 2, 2}},
    SpaceRow{"RGB", {"rgb_r", "rgb_g", "rgb_b"}, {"R", "G", "B"}, {0, 0, 0}},
};

/// The densities in the order of the library's bulk calls: black, cyan, magenta, yellow.
inline constexpr std::array<const char*, 4> densityNames = {"d_vis", "d_red", "d_green", "d_blue"};
inline constexpr std::array<const char*, 4> densityHeads = {"D black", "D cyan", "D magenta", "D yellow"};

inline constexpr const char* densityName = "density"; ///< by the filter mode
inline constexpr const char* densityHead = "density";

/// Bands in nm, "nm380". Nothing for a name that is none; "SPECTRAL_NM380", "nm_380", "380nm" and "380" are read too.
std::optional<double> WavelengthOf(std::string_view name);

/// The column of a field as a file names it: numbers where the name is known, text otherwise.
Column ColumnOf(std::string_view name);

/// The field's name in CGATS.
std::string CgatsName(const Column& column);

/// The row of a space, null for a space that has no fields of its own.
const SpaceRow* FindSpace(std::string_view space);

void AppendText(Schema& schema, const std::string& name, const std::string& head);
void AppendNumberColumn(Schema& schema, const std::string& name, const std::string& head, int decimals);
/// @param lightUnit  of X, Y, Z of a light: "cd/m²", "lx"; "" for reflectances
void AppendColor(Schema& schema, const std::string& space, const std::string& lightUnit = "");
void AppendSpectrum(Schema& schema);
/// @param filtered  one column, the density by the filter, instead of four
void AppendDensities(Schema& schema, bool filtered = false);

}
