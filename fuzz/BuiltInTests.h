#ifndef FUZZ_BUILTINTESTS_H
#define FUZZ_BUILTINTESTS_H

#include "VICTORY/libvictory/victory.h"
#include "fuzz/Fuzz.h"
#include "fuzz/model/BuiltInTestModel.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <vector>

/// What the targets that run built-in tests have in common: the sensors, and what clients are told.
namespace fuzz::BuiltInTests {

/// A sensors' file, with one that is off, one without a server, and two of one server.
inline constexpr const char* kSensorsFile = R"(<HX_Configurations>
<Sensor><Name>1</Name><Parameters><SensorId>GPS-1</SensorId><Enabled>true</Enabled>
<SensorType>VAPNTC_SENSOR_TYPE_GPS</SensorType><HasOtherSensorType>false</HasOtherSensorType>
<ComponentConfigurationId>0x27</ComponentConfigurationId>
<HasComponentConfigurationId>true</HasComponentConfigurationId></Parameters></Sensor>
<Sensor><Name>2</Name><Parameters><SensorId>None</SensorId><Enabled>true</Enabled>
<SensorType>VAPNTC_SENSOR_TYPE_OTHER</SensorType><HasOtherSensorType>false</HasOtherSensorType>
<ComponentConfigurationId>0x26</ComponentConfigurationId>
<HasComponentConfigurationId>false</HasComponentConfigurationId></Parameters></Sensor>
<Sensor><Name>3</Name><Parameters><SensorId>Off</SensorId><Enabled>false</Enabled>
<SensorType>VAPNTC_SENSOR_TYPE_GPS</SensorType><HasOtherSensorType>false</HasOtherSensorType>
<ComponentConfigurationId>0x27</ComponentConfigurationId>
<HasComponentConfigurationId>true</HasComponentConfigurationId></Parameters></Sensor>
<Sensor><Name>4</Name><Parameters><SensorId>IMU-1</SensorId><Enabled>true</Enabled>
<SensorType>VAPNTC_SENSOR_TYPE_INERTIAL</SensorType><HasOtherSensorType>false</HasOtherSensorType>
<ComponentConfigurationId>2F</ComponentConfigurationId>
<HasComponentConfigurationId>true</HasComponentConfigurationId></Parameters></Sensor>
<Sensor><Name>5</Name><Parameters><SensorId>IMU-2</SensorId><Enabled>true</Enabled>
<SensorType>VAPNTC_SENSOR_TYPE_INERTIAL</SensorType><HasOtherSensorType>false</HasOtherSensorType>
<ComponentConfigurationId>0x2f</ComponentConfigurationId>
<HasComponentConfigurationId>true</HasComponentConfigurationId></Parameters></Sensor>
</HX_Configurations>
)";

/// The sensors of that file.
inline std::vector<BuiltInTestModel::Sensor> sensors()
{
    return {{"GPS-1", 39}, {"None", std::nullopt}, {"IMU-1", 47}, {"IMU-2", 47}};
}

/// Starts are shown in local time, which is UTC from now on.
inline void useUtc()
{
    static const int isUtc = ::setenv("TZ", "UTC", 1);
    FUZZ_EXPECT(isUtc == 0);
}

inline void expectRow(const VapntcBitResult& told, const BuiltInTestModel::Row& row)
{
    FUZZ_EXPECT(told.builtInTestId == row.id && told.status == row.status && told.resultCode == row.resultCode);
    FUZZ_EXPECT(told.name == row.name && (told.namePresent != 0) == !row.name.empty());
    FUZZ_EXPECT(told.sensorCount == static_cast<int>(row.sensors.size()));
    for (std::size_t i = 0; i < row.sensors.size(); ++i)
        FUZZ_EXPECT(told.sensors[i].sensorId == row.sensors[i].first &&
                    told.sensors[i].status == row.sensors[i].second);
    std::int32_t time[8];
    static_assert(sizeof(time) == sizeof(told.startTime));
    std::memcpy(time, &told.startTime, sizeof(time));
    std::tm begin{};
    if (row.start) ::gmtime_r(&*row.start, &begin);
    const std::int32_t expected[] = {begin.tm_year, begin.tm_mon, begin.tm_mday, begin.tm_wday,
                                     begin.tm_hour, begin.tm_min, begin.tm_sec,  0};
    FUZZ_EXPECT(std::ranges::equal(time, expected));
}

/// Results that a client was told are those of the model.
inline void expectRows(const VapntcBitResults& told, const std::vector<BuiltInTestModel::Row>& rows)
{
    FUZZ_EXPECT(told.resultCount == static_cast<int>(rows.size()));
    const VapntcBitResult* result = told.results;
    for (const auto& row : rows) expectRow(*result++, row);
}

}  // namespace fuzz::BuiltInTests

#endif
