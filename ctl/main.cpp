#include "Verbs.h"

int main(int argumentCount, char** arguments)
{
    return ctl::RunProgram(argumentCount, arguments);
}
