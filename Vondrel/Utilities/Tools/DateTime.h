#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace Vondrel::Utilities::Tools {

/// A moment in whole seconds since 1970-01-01 UTC, with text formats in local time by the rules of strftime. 0 means no
/// time; its text is empty, and so is one that is longer than 63 characters.
class DateTime {
public:
    /// The current time.
    DateTime();

    /// As SetDateTime; a refused text gives "no time".
    explicit DateTime(const std::string& text);
    explicit DateTime(std::int32_t seconds);

    std::int32_t GetLongTime() const { return seconds; }
    void SetLongTime(std::int32_t seconds_) { seconds = seconds_; }
    void SetNow();

    std::string GetDateTime() const; ///< format at first "%Y-%m-%d/%H:%M:%S"
    std::string GetDate() const;     ///< format at first "%Y-%m-%d"
    std::string GetTime() const;     ///< format at first "%H:%M:%S"

    /// Reads year-month-day/hour:minute:second, whatever the formats say. The text is the zone's standard time, in
    /// summer too. Fields outside their range are carried over.
    /// @return false, and nothing changed, if the text has another form
    bool SetDateTime(const std::string& text);

    void SetDateTimeFormat(const std::string& format) { dateTimeFormat = format; }
    void SetDateFormat(const std::string& format) { dateFormat = format; }
    void SetTimeFormat(const std::string& format) { timeFormat = format; }

    // The formats do not take part in a comparison.
    bool operator==(const DateTime& other) const { return seconds == other.seconds; }
    std::strong_ordering operator<=>(const DateTime& other) const { return seconds <=> other.seconds; }

private:
    std::string Format(const std::string& format) const;

    std::int32_t seconds = 0;
    std::string dateTimeFormat = "%Y-%m-%d/%H:%M:%S";
    std::string dateFormat = "%Y-%m-%d";
    std::string timeFormat = "%H:%M:%S";
};

}
