#include "cli/Cli.h"
#include "ui/AplicativoBandeja.h"
#include "ui/DiagnosticoDesktop.h"

#include <cstring>

int main(int argc, char** argv)
{
    // The diagnosis needs the desktop backends, which the command line's library does without.
    if (argc > 1 && std::strcmp(argv[1], "diagnostico") == 0)
        return sonvo::desktop::executarDiagnostico(argc, argv);
    if (argc > 1)
        return sonvo::cli::executar(argc, argv);
    return sonvo::desktop::executarAplicativo(argc, argv);
}
