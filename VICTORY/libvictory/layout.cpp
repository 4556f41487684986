// The records are laid out as the library lays them out.

#include "VICTORY/libvictory/victory.h"

static_assert(sizeof(VapntcTime) == 32, "VapntcTime");
static_assert(offsetof(VapntcTime, year) == 0, "VapntcTime");
static_assert(offsetof(VapntcTime, month) == 4, "VapntcTime");
static_assert(offsetof(VapntcTime, day) == 8, "VapntcTime");
static_assert(offsetof(VapntcTime, reserved12) == 12, "VapntcTime");
static_assert(offsetof(VapntcTime, hour) == 16, "VapntcTime");
static_assert(offsetof(VapntcTime, minute) == 20, "VapntcTime");
static_assert(offsetof(VapntcTime, seconds) == 24, "VapntcTime");
static_assert(offsetof(VapntcTime, nanoseconds) == 28, "VapntcTime");

static_assert(sizeof(VapntcMeasSource) == 272, "VapntcMeasSource");
static_assert(offsetof(VapntcMeasSource, sourceType) == 0, "VapntcMeasSource");
static_assert(offsetof(VapntcMeasSource, reserved4) == 4, "VapntcMeasSource");
static_assert(offsetof(VapntcMeasSource, reserved8) == 8, "VapntcMeasSource");
static_assert(offsetof(VapntcMeasSource, description) == 12, "VapntcMeasSource");
static_assert(offsetof(VapntcMeasSource, descriptionValid) == 268, "VapntcMeasSource");

static_assert(sizeof(VapntcBlendedNavigationRecord) == 14024, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, gpsSeconds) == 0, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, angleDegrees) == 8, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, secondReceiverStatus) == 16, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, receiverFailure) == 20, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, positionValid) == 24, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, fom) == 28, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, fomValid) == 32, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, efom) == 36, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, efomValid) == 40, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, tfom) == 44, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, tfomValid) == 48, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, assuranceConfidence) == 56, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, assuranceKnown) == 64, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, sources) == 68, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, sourceCount) == 13668, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, gpsAvailability) == 13672, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, positionErrorPresent) == 13872, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, timeError) == 13880, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, timeErrorValid) == 13888, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, horizontalPositionError) == 13896,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, horizontalPositionErrorValid) == 13904,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, verticalPositionError) == 13912, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, verticalPositionErrorValid) == 13920,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, fourthPositionErrorValid) == 13936,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, velocityErrorPresent) == 13944, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, horizontalVelocityError) == 13952,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, horizontalVelocityErrorValid) == 13960,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, verticalVelocityError) == 13968, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, verticalVelocityErrorValid) == 13976,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, thirdVelocityErrorValid) == 13992,
              "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, attitudeErrorPresent) == 14000, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, attitudeError) == 14008, "VapntcBlendedNavigationRecord");
static_assert(offsetof(VapntcBlendedNavigationRecord, attitudeErrorValid) == 14016, "VapntcBlendedNavigationRecord");

static_assert(sizeof(VapntcNavWarSaThreat) == 704, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, reportKind) == 0, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, time) == 4, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, firstReservedValid) == 36, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, secondReservedValid) == 296, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, sensorName) == 300, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, bearingPresent) == 556, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, azimuth) == 560, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, azimuthConfidenceValid) == 568, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, azimuthConfidence) == 576, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, thirdReservedValid) == 584, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, elevation) == 600, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, elevationConfidenceValid) == 608, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, elevationConfidence) == 616, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, fourthReservedValid) == 624, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, centreFrequency) == 640, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, bandwidth) == 648, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, fifthReservedValid) == 660, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, sixthReservedValid) == 668, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, seventhReservedValid) == 680, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, power) == 688, "VapntcNavWarSaThreat");
static_assert(offsetof(VapntcNavWarSaThreat, powerValid) == 696, "VapntcNavWarSaThreat");

static_assert(sizeof(VapntcNavWarSaRecord) == 35216, "VapntcNavWarSaRecord");
static_assert(offsetof(VapntcNavWarSaRecord, threatsPresent) == 0, "VapntcNavWarSaRecord");
static_assert(offsetof(VapntcNavWarSaRecord, reserved4) == 4, "VapntcNavWarSaRecord");
static_assert(offsetof(VapntcNavWarSaRecord, threats) == 8, "VapntcNavWarSaRecord");
static_assert(offsetof(VapntcNavWarSaRecord, threatCount) == 35208, "VapntcNavWarSaRecord");

static_assert(sizeof(VapntcWarningMessage) == 524, "VapntcWarningMessage");
static_assert(offsetof(VapntcWarningMessage, warningId) == 0, "VapntcWarningMessage");
static_assert(offsetof(VapntcWarningMessage, reserved260) == 260, "VapntcWarningMessage");
static_assert(offsetof(VapntcWarningMessage, customText) == 264, "VapntcWarningMessage");
static_assert(offsetof(VapntcWarningMessage, customTextValid) == 520, "VapntcWarningMessage");

static_assert(sizeof(VapntcWarningMessagesRecord) == 26216, "VapntcWarningMessagesRecord");
static_assert(offsetof(VapntcWarningMessagesRecord, gpsSeconds) == 0, "VapntcWarningMessagesRecord");
static_assert(offsetof(VapntcWarningMessagesRecord, warnings) == 8, "VapntcWarningMessagesRecord");
static_assert(offsetof(VapntcWarningMessagesRecord, warningCount) == 26208, "VapntcWarningMessagesRecord");

static_assert(sizeof(VapntcComponentConfiguration) == 1288, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, componentId) == 0, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, name) == 256, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, serialNumber) == 512, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, software) == 768, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, softwarePresent) == 1024, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, hardware) == 1028, "VapntcComponentConfiguration");
static_assert(offsetof(VapntcComponentConfiguration, hardwarePresent) == 1284, "VapntcComponentConfiguration");

static_assert(sizeof(VapntcSystemConfiguration) == 65448, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, systemName) == 0, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, systemSerialNumber) == 256, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, systemSoftware) == 512, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, softwarePresent) == 768, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, systemHardware) == 772, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, hardwarePresent) == 1028, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, manufacturerCode) == 1032, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, manufacturerCodePresent) == 1040, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, components) == 1044, "VapntcSystemConfiguration");
static_assert(offsetof(VapntcSystemConfiguration, componentCount) == 65444, "VapntcSystemConfiguration");

static_assert(sizeof(VapntcAvailableOutputs) == 204, "VapntcAvailableOutputs");
static_assert(offsetof(VapntcAvailableOutputs, outputs) == 0, "VapntcAvailableOutputs");
static_assert(offsetof(VapntcAvailableOutputs, outputCount) == 200, "VapntcAvailableOutputs");

static_assert(sizeof(VapntcSensor) == 784, "VapntcSensor");
static_assert(offsetof(VapntcSensor, sensorId) == 0, "VapntcSensor");
static_assert(offsetof(VapntcSensor, sensorType) == 256, "VapntcSensor");
static_assert(offsetof(VapntcSensor, otherSensorType) == 260, "VapntcSensor");
static_assert(offsetof(VapntcSensor, otherSensorTypePresent) == 516, "VapntcSensor");
static_assert(offsetof(VapntcSensor, componentConfigurationId) == 520, "VapntcSensor");
static_assert(offsetof(VapntcSensor, componentConfigurationIdPresent) == 776, "VapntcSensor");
static_assert(offsetof(VapntcSensor, enabled) == 780, "VapntcSensor");

static_assert(sizeof(VapntcAvailableSensors) == 39204, "VapntcAvailableSensors");
static_assert(offsetof(VapntcAvailableSensors, sensors) == 0, "VapntcAvailableSensors");
static_assert(offsetof(VapntcAvailableSensors, sensorCount) == 39200, "VapntcAvailableSensors");

static_assert(sizeof(VapntcBitSensorResult) == 520, "VapntcBitSensorResult");
static_assert(offsetof(VapntcBitSensorResult, sensorId) == 0, "VapntcBitSensorResult");
static_assert(offsetof(VapntcBitSensorResult, status) == 256, "VapntcBitSensorResult");
static_assert(offsetof(VapntcBitSensorResult, text) == 260, "VapntcBitSensorResult");
static_assert(offsetof(VapntcBitSensorResult, textPresent) == 516, "VapntcBitSensorResult");

static_assert(sizeof(VapntcBitResult) == 26560, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, builtInTestId) == 0, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, status) == 256, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, resultCode) == 260, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, name) == 264, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, namePresent) == 520, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, sensors) == 524, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, sensorCount) == 26524, "VapntcBitResult");
static_assert(offsetof(VapntcBitResult, startTime) == 26528, "VapntcBitResult");

static_assert(sizeof(VapntcBitResults) == 1328004, "VapntcBitResults");
static_assert(offsetof(VapntcBitResults, results) == 0, "VapntcBitResults");
static_assert(offsetof(VapntcBitResults, resultCount) == 1328000, "VapntcBitResults");

static_assert(sizeof(VapntcBitRequests) == 12804, "VapntcBitRequests");
static_assert(offsetof(VapntcBitRequests, builtInTestIds) == 0, "VapntcBitRequests");
static_assert(offsetof(VapntcBitRequests, requestCount) == 12800, "VapntcBitRequests");

static_assert(sizeof(double) == 8 && sizeof(char) == 1, "words of the records");
