#include "command.h"

int main(int argc, char **argv)
{
    return run_ptzctl({argv + 1, argv + argc});
}
