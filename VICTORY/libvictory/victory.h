#ifndef VICTORY_LIBVICTORY_VICTORY_H
#define VICTORY_LIBVICTORY_VICTORY_H

/// What the service uses of the closed bus library, `libvictory.so.5.0`: its records, its operations, its numbers.
///
/// Records are plain structures in the library's layout, the same on every target: fixed-width members, no padding that
/// has no name, lists as rows followed by a count. What the library's layout does not tell is a member
/// `reserved<offset>` and is written as zero; zero a whole record before it is filled. A flag is 0 or 1 in a word of 32
/// bits: every member `...Valid`, `...Present` or `...Known`, which tells whether what it is named after counts. A
/// member `...Count` is the rows in use, 0 to 50. Texts are zero-terminated within their field unless told otherwise.
///
/// Operations may be called by any thread, as long as the service object lives. Where the result is an int, 0 is
/// success and anything else a failure. The library calls back on threads of its own, from `vapntsStartService` until
/// `vapntsDeleteService` returns; several call-backs may run at once, on different threads. The context comes first.

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    VAPNTC_TEXT_SIZE = 256,  ///< bytes of a text field, its terminating zero included
    VAPNTC_MAX_ROWS = 50,    ///< rows of every list
    VAPNTC_MANUFACTURER_CODE_SIZE = 5
};

/// Services of the library. Our service is a `VapntsService`; faults may be raised in the other kinds too.
typedef struct VapntsService VapntsService;
typedef struct VgpssService VgpssService;
typedef struct VdotsService VdotsService;
typedef struct VgensService VgensService;
typedef struct VorisService VorisService;
typedef struct VpossService VpossService;

/// Publication groups.
enum { VAPNTS_PUB_GROUP_BLENDED_NAVIGATION = 0, VAPNTS_PUB_GROUP_WARNING_MESSAGES = 1, VAPNTS_PUB_GROUP_NAVWAR_SA = 2 };

// Time.

/// A civil time, UTC.
typedef struct VapntcTime {
    uint32_t year;   ///< full, as 2024
    uint32_t month;  ///< 1 to 12
    uint32_t day;    ///< 1 to 31
    uint32_t reserved12;
    uint32_t hour;
    uint32_t minute;
    uint32_t seconds;      ///< whole seconds
    uint32_t nanoseconds;  ///< 0 to 999,999,999
} VapntcTime;

// Blended Navigation.

/// A source type that its description tells.
enum { VAPNTC_MEAS_SOURCE_TYPE_OTHER = 14 };

/// A source of measurements that went into the solution.
typedef struct VapntcMeasSource {
    uint32_t sourceType;  ///< the library's number of the kind, 0 to 14
    uint32_t reserved4;
    uint32_t reserved8;
    char description[VAPNTC_TEXT_SIZE];
    uint32_t descriptionValid;
} VapntcMeasSource;

/// Whether GPS measurements are to be had.
enum { VAPNTC_GPS_AVAILABLE = 1, VAPNTC_GPS_NOT_AVAILABLE = 2 };

/// The navigation solution's quality and sources.
typedef struct VapntcBlendedNavigationRecord {
    double gpsSeconds;              ///< s of the GPS week
    double angleDegrees;            ///< deg, -180 to 180; an angle that the GPS receiver reports
    uint32_t secondReceiverStatus;  ///< 0 or 1, as the GPS receiver reports it
    uint32_t receiverFailure;       ///< 0 or 1, as the GPS receiver reports it
    uint32_t positionValid;         ///< 0 when `fom` is 9
    uint32_t fom;                   ///< of the position, 1 (best) to 9
    uint32_t fomValid;
    uint32_t efom;  ///< of the position, 1 (best) to 5; 0 unless `fom` is 1
    uint32_t efomValid;
    uint32_t tfom;  ///< of the time, 1 (best) to 9
    uint32_t tfomValid;
    uint32_t reserved52;
    double assuranceConfidence;  ///< 0 to 1; 0.95 or 0.5 are sent
    uint32_t assuranceKnown;
    VapntcMeasSource sources[VAPNTC_MAX_ROWS];
    uint32_t sourceCount;
    uint32_t gpsAvailability;  ///< VAPNTC_GPS_...
    uint8_t reserved13676[196];
    uint32_t positionErrorPresent;
    uint32_t reserved13876;
    double timeError;  ///< ms, one sigma
    uint32_t timeErrorValid;
    uint32_t reserved13892;
    double horizontalPositionError;  ///< m, 1.1774 sigma of one axis
    uint32_t horizontalPositionErrorValid;
    uint32_t reserved13908;
    double verticalPositionError;  ///< m
    uint32_t verticalPositionErrorValid;
    uint8_t reserved13924[12];
    uint32_t fourthPositionErrorValid;
    uint32_t reserved13940;
    uint32_t velocityErrorPresent;
    uint32_t reserved13948;
    double horizontalVelocityError;  ///< m/s
    uint32_t horizontalVelocityErrorValid;
    uint32_t reserved13964;
    double verticalVelocityError;  ///< m/s
    uint32_t verticalVelocityErrorValid;
    uint8_t reserved13980[12];
    uint32_t thirdVelocityErrorValid;
    uint32_t reserved13996;
    uint32_t attitudeErrorPresent;
    uint32_t reserved14004;
    double attitudeError;  ///< deg, the root of the sum of the squares of roll's, pitch's and heading's
    uint32_t attitudeErrorValid;
    uint32_t reserved14020;
} VapntcBlendedNavigationRecord;

// NavWar situational awareness.

/// The report kind of a line of bearing.
enum { VAPNTC_NAVWAR_SA_KIND_LINE_OF_BEARING = 2 };

/// A source of interference, as a bearing from the sensor.
typedef struct VapntcNavWarSaThreat {
    uint32_t reportKind;  ///< VAPNTC_NAVWAR_SA_KIND_...
    VapntcTime time;      ///< the latest that the service knew when it made the report
    uint32_t firstReservedValid;
    uint8_t reserved40[256];
    uint32_t secondReservedValid;
    char sensorName[VAPNTC_TEXT_SIZE];
    uint32_t bearingPresent;
    double azimuth;  ///< rad, -pi to pi
    uint32_t azimuthConfidenceValid;
    uint32_t reserved572;
    double azimuthConfidence;  ///< 0 to 100 in what occurs, in steps of 25
    uint32_t thirdReservedValid;
    uint8_t reserved588[12];
    double elevation;  ///< rad, -pi/2 to pi/2
    uint32_t elevationConfidenceValid;
    uint32_t reserved612;
    double elevationConfidence;  ///< that of the azimuth
    uint32_t fourthReservedValid;
    uint8_t reserved628[12];
    double centreFrequency;  ///< Hz
    double bandwidth;        ///< Hz
    uint32_t reserved656;
    uint32_t fifthReservedValid;
    uint32_t reserved664;
    uint32_t sixthReservedValid;
    uint8_t reserved672[8];
    uint32_t seventhReservedValid;
    uint32_t reserved684;
    double power;  ///< as the sensor tells it
    uint32_t powerValid;
    uint32_t reserved700;
} VapntcNavWarSaThreat;

/// Threats, the oldest first.
typedef struct VapntcNavWarSaRecord {
    uint32_t threatsPresent;
    uint32_t reserved4;
    VapntcNavWarSaThreat threats[VAPNTC_MAX_ROWS];
    uint32_t threatCount;
    uint32_t reserved35212;
} VapntcNavWarSaRecord;

// Warning messages.

/// Warning ids that the service uses by name.
enum {
    VAPNTC_WARNING_CV_ZEROIZE_PASSED = 2,
    VAPNTC_WARNING_CV_ZEROIZE_FAILED = 3,
    VAPNTC_WARNING_SYSTEM_ZEROIZE_PASSED = 22,
    VAPNTC_WARNING_SYSTEM_ZEROIZE_FAILED = 23,
    VAPNTC_WARNING_SYSTEM_DESTROY_PASSED = 24,
    VAPNTC_WARNING_SYSTEM_DESTROY_FAILED = 25,
    VAPNTC_WARNING_GPS_MEASUREMENTS_LOST = 67,
    VAPNTC_WARNING_GPS_MEASUREMENTS_BACK = 68,
    VAPNTC_WARNING_CUSTOM = 75  ///< its text is its meaning
};

/// A warning.
typedef struct VapntcWarningMessage {
    uint32_t warningId;  ///< VAPNTC_WARNING_... or another number of the library's list
    uint8_t reserved4[256];
    uint32_t reserved260;
    char customText[VAPNTC_TEXT_SIZE];
    uint32_t customTextValid;
} VapntcWarningMessage;

/// Warnings, the oldest first.
typedef struct VapntcWarningMessagesRecord {
    double gpsSeconds;  ///< s of the GPS week
    VapntcWarningMessage warnings[VAPNTC_MAX_ROWS];
    uint32_t warningCount;
    uint32_t reserved26212;
} VapntcWarningMessagesRecord;

// System configuration, outputs and sensors.

/// A component of the unit.
typedef struct VapntcComponentConfiguration {
    char componentId[VAPNTC_TEXT_SIZE];
    char name[VAPNTC_TEXT_SIZE];
    char serialNumber[VAPNTC_TEXT_SIZE];
    char software[VAPNTC_TEXT_SIZE];
    uint32_t softwarePresent;
    char hardware[VAPNTC_TEXT_SIZE];
    uint32_t hardwarePresent;
} VapntcComponentConfiguration;

/// The unit and its components.
typedef struct VapntcSystemConfiguration {
    char systemName[VAPNTC_TEXT_SIZE];
    char systemSerialNumber[VAPNTC_TEXT_SIZE];
    char systemSoftware[VAPNTC_TEXT_SIZE];
    uint32_t softwarePresent;
    char systemHardware[VAPNTC_TEXT_SIZE];
    uint32_t hardwarePresent;
    char manufacturerCode[VAPNTC_MANUFACTURER_CODE_SIZE];  ///< without a terminator
    uint8_t reserved1037[3];
    uint32_t manufacturerCodePresent;
    VapntcComponentConfiguration components[VAPNTC_MAX_ROWS];
    int32_t componentCount;
} VapntcSystemConfiguration;

/// Numbers of the outputs that the unit offers, in the library's list of outputs.
typedef struct VapntcAvailableOutputs {
    int32_t outputs[VAPNTC_MAX_ROWS];
    int32_t outputCount;
} VapntcAvailableOutputs;

/// What a sensor is.
typedef int32_t VapntcSensorType;
enum {
    VAPNTC_SENSOR_TYPE_INVALID = -1,
    VAPNTC_SENSOR_TYPE_GPS = 0,
    VAPNTC_SENSOR_TYPE_BEIDOU_GNSS = 1,
    VAPNTC_SENSOR_TYPE_GALILEO_GNSS = 2,
    VAPNTC_SENSOR_TYPE_GLONASS_GNSS = 3,
    VAPNTC_SENSOR_TYPE_IRNSS_GNSS = 4,
    VAPNTC_SENSOR_TYPE_QZSS_GNSS = 5,
    VAPNTC_SENSOR_TYPE_ALTNAV = 6,
    VAPNTC_SENSOR_TYPE_INERTIAL = 7,
    VAPNTC_SENSOR_TYPE_SPEED_SENSOR = 8,
    VAPNTC_SENSOR_TYPE_PRECISION_TIME_SOURCE = 9,
    VAPNTC_SENSOR_TYPE_OPTICAL = 10,
    VAPNTC_SENSOR_TYPE_MAGNETIC = 11,
    VAPNTC_SENSOR_TYPE_RADAR = 12,
    VAPNTC_SENSOR_TYPE_RADIO = 13,
    VAPNTC_SENSOR_TYPE_STEP_BASED_NAVIGATION = 14,
    VAPNTC_SENSOR_TYPE_PRESSURE_BASED_NAVIGATION = 15,
    VAPNTC_SENSOR_TYPE_CELESTIAL_NAVIGATION = 16,
    VAPNTC_SENSOR_TYPE_SIGNALS_OF_OPPORTUNITY_RADIO = 17,
    VAPNTC_SENSOR_TYPE_ENHANCED_LONG_RANGE_NAVIGATION = 18,
    VAPNTC_SENSOR_TYPE_OTHER = 19
};

/// A sensor of the unit.
typedef struct VapntcSensor {
    char sensorId[VAPNTC_TEXT_SIZE];
    VapntcSensorType sensorType;
    char otherSensorType[VAPNTC_TEXT_SIZE];
    uint32_t otherSensorTypePresent;
    char componentConfigurationId[VAPNTC_TEXT_SIZE];
    uint32_t componentConfigurationIdPresent;
    uint32_t enabled;
} VapntcSensor;

/// The sensors of the unit.
typedef struct VapntcAvailableSensors {
    VapntcSensor sensors[VAPNTC_MAX_ROWS];
    int32_t sensorCount;
} VapntcAvailableSensors;

// Clearing of data.

/// What a client wants cleared.
typedef int32_t VapntcSystemData;
enum { VAPNTC_SYSTEM_DATA_INVALID = -1, VAPNTC_SYSTEM_DATA_ALL = 0, VAPNTC_SYSTEM_DATA_CRYPTO = 1 };

// Built-in test.

/// How far a built-in test is.
enum {
    VAPNTC_BIT_STATUS_QUEUED = 0,
    VAPNTC_BIT_STATUS_RUNNING = 1,
    VAPNTC_BIT_STATUS_FAILED = 2,
    VAPNTC_BIT_STATUS_PASSED = 3
};

/// A sensor's part in a built-in test.
typedef struct VapntcBitSensorResult {
    char sensorId[VAPNTC_TEXT_SIZE];
    int32_t status;  ///< VAPNTC_BIT_STATUS_...
    char text[VAPNTC_TEXT_SIZE];
    uint32_t textPresent;
} VapntcBitSensorResult;

/// A built-in test.
typedef struct VapntcBitResult {
    char builtInTestId[VAPNTC_TEXT_SIZE];  ///< a decimal number
    int32_t status;                        ///< VAPNTC_BIT_STATUS_...
    int32_t resultCode;                    ///< VAPNTC_BIT_STATUS_FAILED or VAPNTC_BIT_STATUS_PASSED
    char name[VAPNTC_TEXT_SIZE];
    uint32_t namePresent;
    VapntcBitSensorResult sensors[VAPNTC_MAX_ROWS];
    int32_t sensorCount;
    VapntcTime startTime;  ///< not as its members say: local time, years from 1900, months from 0, the weekday (0 is
                           ///< Sunday) in `reserved12`, and no nanoseconds; zeros for a test that has not begun
} VapntcBitResult;

/// Built-in tests. Over a megabyte, and passed by value: build it on the heap, and call with room for two on the stack.
typedef struct VapntcBitResults {
    VapntcBitResult results[VAPNTC_MAX_ROWS];
    int32_t resultCount;
} VapntcBitResults;

/// Ids of built-in tests that a client asks for; none means all. The count comes from outside: test it before use.
typedef struct VapntcBitRequests {
    char builtInTestIds[VAPNTC_MAX_ROWS][VAPNTC_TEXT_SIZE];
    int32_t requestCount;
} VapntcBitRequests;

// The service's life.

/// A new service, or null when a text can't be used. Both are XML documents, zero-terminated.
VapntsService* vapntsNewService(const char* configurationText, const char* vclText);

/// Call-backs may be set before the start and after it.
typedef int (*VapntsSaveVclidCallback)(void* context, VapntsService* service, const char* vclText);
typedef void (*VapntsTellCallback)(void* context, VapntsService* service);
typedef int (*VapntsTellClearSystemDataCallback)(void* context, VapntsService* service, VapntcSystemData* data);
typedef void (*VapntsTellSystemConfigurationCallback)(void* context, VapntsService* service);
typedef void (*VapntsTellExecuteBuiltInTestsCallback)(void* context, VapntsService* service);
typedef void (*VapntsTellGetBuiltInTestResultsCallback)(void* context, VapntsService* service,
                                                        VapntcBitRequests requests);
typedef void (*VapntsTellClearBuiltInTestResultsCallback)(void* context, VapntsService* service,
                                                          VapntcBitRequests requests);

/// A new VCL text is to be saved: the call-back gives 0 when it is.
int vapntsInitSaveVclidCallback(VapntsService* service, VapntsSaveVclidCallback callback, void* context);

/// Sets up a publication group, VAPNTS_PUB_GROUP_...
/// @param rate  Hz
int vapntsInitPubGroup(VapntsService* service, int group, double rate);

/// A publication group is due.
int vapntsInitTellCallback(VapntsService* service, int group, VapntsTellCallback callback, void* context);

/// A client wants data cleared; the pointer is null when it does not say what.
int vapntsInitTellClearSystemDataCallback(VapntsService* service, VapntsTellClearSystemDataCallback callback,
                                          void* context);

/// A client wants the system configuration.
int vapntsInitTellSystemConfigurationCallback(VapntsService* service, VapntsTellSystemConfigurationCallback callback,
                                              void* context);

/// A client wants a built-in test run.
/// @param zero  is 0
int vapntsInitTellExecuteBuiltInTestsCallback(VapntsService* service, VapntsTellExecuteBuiltInTestsCallback callback,
                                              void* context, int zero);

/// A client wants results of built-in tests.
int vapntsInitTellGetBuiltInTestResultsCallback(VapntsService* service,
                                                VapntsTellGetBuiltInTestResultsCallback callback, void* context);

/// A client wants results of built-in tests forgotten.
int vapntsInitTellClearBuiltInTestResultsCallback(VapntsService* service,
                                                  VapntsTellClearBuiltInTestResultsCallback callback, void* context);

/// Starts the service's threads.
int vapntsStartService(VapntsService* service);

/// Stops the service and frees it. Waits for call-backs that run, and none comes after it has returned.
void vapntsDeleteService(VapntsService* service);

// What the service tells.

/// @param time  time of validity; null for none
int vapntsTellBlendedNavigationData(VapntsService* service, VapntcBlendedNavigationRecord record,
                                    const VapntcTime* time);
int vapntsTellNavWarSaData(VapntsService* service, VapntcNavWarSaRecord record, const VapntcTime* time);
int vapntsTellWarningMessagesData(VapntsService* service, VapntcWarningMessagesRecord record, const VapntcTime* time);

int vapntsTellSystemConfiguration(VapntsService* service, VapntcSystemConfiguration configuration);
int vapntsTellAvailableOutputs(VapntsService* service, VapntcAvailableOutputs outputs);
int vapntsTellAvailableSensors(VapntsService* service, VapntcAvailableSensors sensors);

/// @param result  0 when the request was taken
int vapntsTellClearSystemData(VapntsService* service, int result);

/// @param expectedSeconds  s until the test is over; 0 when none was taken
/// @param id  of the test; empty when none was taken
int vapntsTellExecuteBuiltInTests(VapntsService* service, double expectedSeconds, const char* id);
int vapntsTellGetBuiltInTestResults(VapntsService* service, VapntcBitResults results);

/// @param cleared  1 when every test that was asked for has been forgotten, else 0
int vapntsTellClearBuiltInTestResults(VapntsService* service, int cleared);

// Faults.

/// Words of a fault.
typedef int32_t VhlthcSeverity;
typedef int32_t VhlthcCategory;
typedef int32_t VhlthcAction;
enum {
    VHLTHC_SEVERITY_WARNING = 33,
    VHLTHC_SEVERITY_ERROR = 34,
    VHLTHC_SEVERITY_CRITICAL = 35,
    VHLTHC_SEVERITY_ALERT = 36,
    VHLTHC_SEVERITY_EMERGENCY = 37
};

/// Raises a fault in a service. Gives its id, which is 1 or more; 0 when it could not be raised.
/// @param acknowledged  1 when the fault counts as acknowledged, else 0
uint32_t vapntsAddFault(VapntsService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                        VhlthcCategory category, VhlthcAction action);
uint32_t vgpssAddFault(VgpssService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                       VhlthcCategory category, VhlthcAction action);
uint32_t vdotsAddFault(VdotsService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                       VhlthcCategory category, VhlthcAction action);
uint32_t vgensAddFault(VgensService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                       VhlthcCategory category, VhlthcAction action);
uint32_t vorisAddFault(VorisService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                       VhlthcCategory category, VhlthcAction action);
uint32_t vpossAddFault(VpossService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                       VhlthcCategory category, VhlthcAction action);

/// Takes a fault back.
int vapntsRemoveFault(VapntsService* service, uint32_t id, VhlthcAction action);
int vgpssRemoveFault(VgpssService* service, uint32_t id, VhlthcAction action);
int vdotsRemoveFault(VdotsService* service, uint32_t id, VhlthcAction action);
int vgensRemoveFault(VgensService* service, uint32_t id, VhlthcAction action);
int vorisRemoveFault(VorisService* service, uint32_t id, VhlthcAction action);
int vpossRemoveFault(VpossService* service, uint32_t id, VhlthcAction action);

// Files.

/// Reads a whole file and ends it with a zero. A file of `capacity` bytes or more fails; it is never cut.
/// @param capacity  bytes of the buffer
int vutilReadStringFromFile(const char* path, int capacity, char* buffer);

/// Writes a text as a whole file, without its terminating zero.
int vutilWriteStringToFile(const char* text, const char* path);

#ifdef __cplusplus
}
#endif

#endif
