#pragma once

#include <iostream>
#include <sstream>
#include <string>

/** Catches what is printed through std::cout while it lives. */
class CapturedOutput {
public:
    CapturedOutput() : m_previous(std::cout.rdbuf(m_text.rdbuf())) {}
    ~CapturedOutput() { std::cout.rdbuf(m_previous); }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_previous;
};
