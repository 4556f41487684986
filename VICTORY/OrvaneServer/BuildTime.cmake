# Writes a source file that tells the time, in UTC: now, or that of SOURCE_DATE_EPOCH.
string(TIMESTAMP time "%Y-%m-%dT%H:%M:%SZ" UTC)
file(WRITE "${OUTPUT}" "#include \"VICTORY/OrvaneServer/BuildInfo.h\"

const char* BuildInfo::time()
{
    return \"${time}\";
}
")
