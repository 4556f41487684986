#ifndef FUZZ_MODEL_VCLMODEL_H
#define FUZZ_MODEL_VCLMODEL_H

#include <optional>
#include <string>

/// The VCL text as clients that save one, and the bus library that is given one, see it.
class VclModel {
public:
    /// A text, told apart by a number; a period that is missing is not in it.
    struct Text {
        int number = 0;
        std::optional<unsigned> navigation = 1000;  ///< ms
        std::optional<unsigned> awareness = 1000;   ///< ms
        bool isXml = true;

        std::string text() const
        {
            const std::string mark = std::to_string(number);
            if (!isXml) return "<vcl:VCL" + mark + ">";
            const std::string items =
                item("ASSURED_PNT_BLENDED_NAVIGATION", navigation) + item("ASSURED_PNT_NAVWAR_SA", awareness);
            return "<vcl:VCL mark=\"" + mark + "\"" + (items.empty() ? "/>" : ">" + items + "</vcl:VCL>");
        }
    };

    std::string file() const { return m_file.text(); }

    void save(const Text& text) { m_file = text; }

    /// What an order to sanitize has the library start with.
    std::string silenced() const
    {
        constexpr unsigned kSilent = 4294967295;
        Text text = m_file;
        if (text.navigation) text.navigation = kSilent;
        if (text.awareness) text.awareness = kSilent;
        return text.isXml ? text.text() : "";
    }

    /// What XML says, however it is set.
    static std::string essenceOf(const std::string& text)
    {
        std::string essence;
        for (const char character : text)
            if (character != '\n' && !(character == ' ' && (essence.empty() || essence.back() == '>')))
                essence += character;
        return essence;
    }

private:
    static std::string item(const std::string& type, std::optional<unsigned> period)
    {
        if (!period) return "";
        return "<vcl:DataItem type=\"" + type + "\"><vcl:ConfigItem name=\"updatePeriod\" value=\"" +
               std::to_string(*period) + "\"/></vcl:DataItem>";
    }

    Text m_file;
};

#endif
