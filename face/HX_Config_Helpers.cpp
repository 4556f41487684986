#include "face/HX_Config_Helpers.h"

#include "face/FACE_Text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

using FACE::RETURN_CODE_TYPE;

namespace HX_Config_Helpers {

namespace {

std::string readText(FACE::Configuration& config, int handle, const FACE::String& name)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    int size = 0;
    config.Get_Size(handle, name, size, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR || size <= 0) return {};
    std::string text(static_cast<std::size_t>(size), '\0');
    int count = 0;
    config.Read(handle, name, text.data(), size, count, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return {};
    text.resize(static_cast<std::size_t>(std::clamp(count, 0, size)));
    return text;
}

}  // namespace

void Get_Boolean_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, bool& value,
                           RETURN_CODE_TYPE::Value& return_code)
{
    std::string text = Details::Read_Config(config, handle, name);
    if (text.empty()) {
        return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
        return;
    }
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    value = text == "true" || (text != "false" && std::strtol(text.c_str(), nullptr, 0) != 0);
}

void Get_String_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, FACE::String& value,
                          RETURN_CODE_TYPE::Value& return_code)
{
    const std::string text = Details::Read_Config(config, handle, name);
    if (text.empty()) {
        return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
        return;
    }
    value = FACE::String(text.c_str());
    if (!value.is_valid()) return_code = RETURN_CODE_TYPE::INVALID_CONFIG;  // no memory for the copy
}

void Set_Boolean_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, bool value,
                           RETURN_CODE_TYPE::Value& return_code)
{
    Set_String_Parameter(config, handle, name, value ? "TRUE" : "FALSE", return_code);
}

void Set_String_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, const FACE::String& value,
                          RETURN_CODE_TYPE::Value& return_code)
{
    if (!Details::Write_Config(config, handle, name, value)) return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
}

namespace Details {

std::string Read_Config(FACE::Configuration& config, int handle, const FACE::String& name)
{
    std::string text = readText(config, handle, name);
    if (text.empty()) std::cout << "WARNING - Parameter " + FACE::textOf(name) + " not found\n" << std::flush;
    return text;
}

bool Write_Config(FACE::Configuration& config, int handle, const FACE::String& name, const FACE::String& value)
{
    if (!value.buffer()) throw std::logic_error("HX_Config_Helpers: value is null");
    std::string text = FACE::textOf(value);
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    const int size = static_cast<int>(text.size());
    int written = 0;
    config.Write(handle, name, text.data(), size, written, code);
    return code == RETURN_CODE_TYPE::NO_ERROR && written == size;
}

}  // namespace Details

}  // namespace HX_Config_Helpers
