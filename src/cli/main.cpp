#include "cli/THPerfMon.h"

int main(int argc, char** argv)
{
    return PerformAction(GetActionFromArg(argc, argv));
}
