// By itself, so that a program that defines this function gets this one not at all.

#include "views/reader/EngineProcess.h"

bool Larkhaven::EngineProcess::mayShowWithoutSandbox()
{
    return false;
}
