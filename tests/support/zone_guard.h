// Sets the process's time zone (TZ) for a test's scope and restores it afterwards.
#ifndef TESTS_SUPPORT_ZONE_GUARD_H_
#define TESTS_SUPPORT_ZONE_GUARD_H_

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

class ZoneGuard {
public:
    explicit ZoneGuard(const char *zone)
    {
        if (const char *old = std::getenv("TZ"))
            saved_ = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneGuard()
    {
        saved_ ? setenv("TZ", saved_->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    ZoneGuard(const ZoneGuard &) = delete;
    ZoneGuard &operator=(const ZoneGuard &) = delete;

private:
    std::optional<std::string> saved_;
};

#endif  // TESTS_SUPPORT_ZONE_GUARD_H_
