// Compiled for the header that is read with it (LabPrecompiled.cmake).
