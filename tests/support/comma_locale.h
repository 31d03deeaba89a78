// comma_locale.h: a locale whose decimal sign is a comma, as long as an object lives.
#pragma once

namespace tonekit {

// Sets one that the build has made for the tests, or that every system has, for the whole process. The C
// locale is set again at the end.
class CommaLocale {
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale &) = delete;
    CommaLocale &operator=(const CommaLocale &) = delete;

    // False where the system has no descriptions to make locales from.
    bool IsSet() const { return isSet_; }

private:
    bool isSet_;
};

} // namespace tonekit
