#include "cli/Cli.h"
#include "ui/AplicativoBandeja.h"

int main(int argc, char** argv)
{
    if (argc > 1)
        return sonvo::cli::executar(argc, argv);
    return sonvo::desktop::executarAplicativo(argc, argv);
}
