#include "views/main/Application.h"

int main(int argc, char** argv)
{
    return Larkhaven::Application(argc, argv).run();
}
