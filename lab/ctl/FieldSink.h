#ifndef LAB_CTL_FIELDSINK_H
#define LAB_CTL_FIELDSINK_H

#include "lab/ctl/FrameDecoder.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace orvanectl {

/// Takes named values one behind the other, objects and arrays within each other: JSON as it is written. Each value of an
/// object has its name said before; those of an array have none. One thread at a time.
class FieldSink {
public:
    virtual ~FieldSink() = default;

    /// @param name  letters, digits and underscores; stays as it is until the value is written, of an object all of it
    virtual void name(const char* name) = 0;

    virtual void beginObject() = 0;
    virtual void endObject() = 0;
    virtual void beginArray() = 0;
    virtual void endArray() = 0;

    virtual void null() = 0;
    virtual void flag(bool value) = 0;
    virtual void text(std::string_view value) = 0;
    virtual void real(double value) = 0;
    virtual void integer(std::int64_t value) = 0;
    virtual void natural(std::uint64_t value) = 0;

    /// A plain value.
    template <class T>
    void value(const T& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            flag(value);
        else if constexpr (std::is_floating_point_v<T>)
            real(value);
        else if constexpr (std::unsigned_integral<T>)
            natural(value);
        else if constexpr (std::signed_integral<T>)
            integer(value);
        else
            text(value);
    }

    /// A member that is a plain value.
    template <class T>
    void member(const char* name, const T& plain)
    {
        this->name(name);
        value(plain);
    }

protected:
    FieldSink() = default;
    FieldSink(const FieldSink&) = default;
    FieldSink& operator=(const FieldSink&) = default;
};

/// Makes JSON of what comes, for who looks into it. One thread at a time.
class FieldTree : public FieldSink {
public:
    void name(const char* name) override { m_name = name; }
    void beginObject() override { begin(Json::object()); }
    void endObject() override { m_open.pop_back(); }
    void beginArray() override { begin(Json::array()); }
    void endArray() override { m_open.pop_back(); }
    void null() override { add(nullptr); }
    void flag(bool value) override { add(value); }
    void text(std::string_view value) override { add(value); }
    void real(double value) override { add(value); }
    void integer(std::int64_t value) override { add(value); }
    void natural(std::uint64_t value) override { add(value); }

    /// What came: one value.
    Json take() { return std::move(m_whole); }

private:
    Json& add(Json value);
    void begin(Json value);

    Json m_whole;
    std::vector<Json*> m_open;
    const char* m_name = "";
};

/// Writes what comes as a line of JSON, valid whatever the values are: a number that is not finite becomes null, and the
/// member `notes` then tells which it was. The same text as `jsonLine` makes of a tree. One thread at a time.
class JsonLine : public FieldSink {
public:
    /// Begins a line, and its object.
    void begin();

    /// Ends both. The text stays until the next line begins.
    const std::string& end();

    void name(const char* name) override;
    void beginObject() override { open('{', true); }
    void endObject() override { close('}'); }
    void beginArray() override { open('[', false); }
    void endArray() override { close(']'); }
    void null() override;
    void flag(bool value) override;
    void text(std::string_view value) override;
    void real(double value) override;
    void integer(std::int64_t value) override;
    void natural(std::uint64_t value) override;

private:
    struct Level {
        bool isObject;
        std::size_t values;
        const char* name;  // of the value that is being written
    };

    void open(char bracket, bool isObject);
    void close(char bracket);
    void separate();
    std::string path() const;

    std::string m_text;
    std::vector<Level> m_levels;
    std::vector<std::string> m_notes;
};

}  // namespace orvanectl

#endif
