#pragma once

#include "apps/ox/table/Column.h"

#include <array>
#include <cstdint>
#include <span>

namespace Ox {

/// The colour of a row on a screen, sRGB.
using Swatch = std::array<std::uint8_t, 3>;

/// Rows on their way, some thousand at a time: texts and numbers apart, each in the order of their columns. A number
/// that is missing is NaN.
class Batch {
public:
    static constexpr std::size_t mostRows = 1024;

    Batch() = default;
    explicit Batch(const Schema& schema) : textColumns(schema.CountTexts()), numberColumns(schema.CountNumbers()) { }

    std::size_t Count() const { return rows; }
    bool IsFull() const { return rows >= mostRows; }
    std::size_t CountTexts() const { return textColumns; }
    std::size_t CountNumbers() const { return numberColumns; }

    /// Adds a row of empty texts and missing numbers; its place.
    std::size_t Add();
    /// Forgets the rows and keeps their memory.
    void Clear();

    std::span<std::string> Texts(std::size_t row) { return {texts.data() + row * textColumns, textColumns}; }
    std::span<const std::string> Texts(std::size_t row) const
    {
        return {texts.data() + row * textColumns, textColumns};
    }
    std::span<float> Numbers(std::size_t row) { return {numbers.data() + row * numberColumns, numberColumns}; }
    std::span<const float> Numbers(std::size_t row) const
    {
        return {numbers.data() + row * numberColumns, numberColumns};
    }

    std::vector<Swatch> swatches; ///< one for each row, or none at all

private:
    std::size_t rows = 0, textColumns = 0, numberColumns = 0;
    std::vector<std::string> texts;
    std::vector<float> numbers;
};

/// What takes rows: a writer, or a step before it.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void Begin(const Schema& schema) = 0;
    virtual void Take(const Batch& batch) = 0;
    /// What was taken is to be seen now.
    virtual void Show() { }
    virtual void End() { }
};

}
