// json.h: JSON as the program prints it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <vector>

namespace tonekit::host {

// A value to print. Where memory ends, making one throws std::bad_alloc, and what was made goes away without
// asking for more: that of nlohmann-json, which writes the strings and numbers here, asks for memory in the
// destructor of arrays and objects, where an exception ends the program.
class Json {
public:
    struct Member;

    Json() = default; // null
    Json(std::nullptr_t) {}
    template <class Number>
    requires(std::is_arithmetic_v<Number>) Json(Number value) : text_(TextOf(value)) {}
    Json(const char *text);
    Json(const std::string &text);
    // A list of strings.
    Json(const std::vector<std::string> &texts);
    // An object, whose members keep this order.
    Json(std::initializer_list<Member> members);
    static Json Array(std::initializer_list<Json> values = {});
    static Json Object();

    // Adds to an array.
    void Add(Json value);
    // Sets a member of an object, which comes last if there is none of that name.
    void Set(const std::string &name, Json value);
    // Sets all members of another object too.
    void SetAll(const Json &object);

private:
    friend std::string JsonText(const Json &value);
    friend std::string JsonLine(const Json &value);
    enum class Kind { Scalar, Array, Object };

    static std::string TextOf(bool value);
    static std::string TextOf(double value);
    static std::string TextOf(int64_t value);
    static std::string TextOf(uint64_t value);
    template <class Number>
    static std::string TextOf(Number value)
    {
        using Wide = std::conditional_t<std::is_floating_point_v<Number>, double,
                                        std::conditional_t<std::is_signed_v<Number>, int64_t, uint64_t>>;
        return TextOf(static_cast<Wide>(value));
    }

    void SetQuoted(const std::string &name, Json value);
    // Appends the text; a depth below 0 asks for one line.
    void Write(std::string &text, int depth) const;
    void WriteItem(std::string &text, size_t index, int depth) const;

    Kind kind_ = Kind::Scalar;
    std::string text_ = "null";      // of a scalar
    std::vector<std::string> names_; // of the members, as they are written
    std::vector<Json> values_;
};

struct Json::Member {
    std::string name;
    Json value;
};

// The text of a value, two blanks deeper for each level. Ill-formed UTF-8 in strings becomes U+FFFD, numbers
// that JSON lacks become null; control characters and marks that turn the direction of writing are escaped,
// so that a terminal doesn't obey them.
std::string JsonText(const Json &value);
// The same in one line.
std::string JsonLine(const Json &value);

} // namespace tonekit::host
