#include <cstdio>
#include <cstdlib>
#include <unistd.h>

/// usage: launch_probe FILE [SECONDS]: writes down how it was started, then sleeps.
int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    FILE *file = fopen(argv[1], "w");
    if (!file)
        return 1;
    char folder[4096] = "";
    if (!getcwd(folder, sizeof folder))
        return 1;
    fprintf(file, "pid=%d\nsession=%d\nparent=%d\nfolder=%s\n", getpid(), getsid(0), getppid(), folder);
    for (int i = 1; i < argc; ++i)
        fprintf(file, "argument=%s\n", argv[i]);
    for (char **variable = environ; *variable; ++variable)
        fprintf(file, "env:%s\n", *variable);
    fprintf(file, "end\n");
    fclose(file);
    if (argc > 2)
        sleep(unsigned(atoi(argv[2])));
    return 0;
}
