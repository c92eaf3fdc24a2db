// Sets a variable of the environment for the life of the object.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

class ScopedVariable
{
public:
    ScopedVariable(const char* variable, const char* value) : name(variable)
    {
        if (const char* old = std::getenv(variable))
            before = old;
        if (value)
            ::setenv(variable, value, 1);
        else
            ::unsetenv(variable);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable()
    {
        if (before)
            ::setenv(name, before->c_str(), 1);
        else
            ::unsetenv(name);
    }

private:
    const char* name;
    std::optional<std::string> before;
};
