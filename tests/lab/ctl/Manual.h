#ifndef TESTS_LAB_CTL_MANUAL_H
#define TESTS_LAB_CTL_MANUAL_H

#include <fstream>
#include <sstream>
#include <string>

/// What a reader of a page of the lab's manual sees.
inline std::string manual(const std::string& page)
{
    std::ostringstream text;
    text << std::ifstream(ORVANE_LAB_MANUAL "/" + page + ".md").rdbuf();
    return text.str();
}

#endif
