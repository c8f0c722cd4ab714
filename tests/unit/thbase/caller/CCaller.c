/* A caller of the base library in strict C. Prints the value of each key given as an argument, or its code.
 */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "thbase.h"

static void PrintKey(const char* key)
{
    char* text = NULL;
    int number = 0;
    const int textResult = thconfGetKeyValPair(get_master_config_ptr(), key, &text);
    const int numberResult = thconfGetKeyValPairAsInt(get_master_config_ptr(), key, &number);
    printf("%s: %d [%s], %d [%d]\n", key, textResult, text != NULL ? text : "", numberResult, number);
    free(text);
}

int main(int count, char** arguments)
{
    int number = 0;
    char word[4] = "";
    struct tm brokenDown;
    const time_t start = 0;
    const int conversions = T_fscanf(stdin, "%d %s", &number, (int)sizeof number, word, (int)sizeof word);
    printf("%d conversions: %d [%s]\n", conversions, number, word);
    printf("%d\n", T_localtime(&start, &brokenDown) == &brokenDown ? brokenDown.tm_year : -1);
    if (count > 1) {
        printf("%d\n", TH_forced_read_master_config());
    }
    for (int argument = 1; argument < count; ++argument) {
        PrintKey(arguments[argument]);
    }
    return 0;
}
