/* A device library without any function, in the place of one that is not the software token. */
int vemra_other_device_library(void);

int vemra_other_device_library(void) {
    return 1;
}
