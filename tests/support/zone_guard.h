// Sets the process's time zone (TZ) for a test's scope and restores it afterwards.
#ifndef ZELKLOG_TEST_ZONE_GUARD_H
#define ZELKLOG_TEST_ZONE_GUARD_H

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

#endif
