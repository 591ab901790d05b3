#include "transport/DriverImages.h"

DRIVER_IMAGES& CarriedDriverImages()
{
    static DRIVER_IMAGES s_images = {EmbeddedDriverX86(), EmbeddedDriverX64(),
                                     EmbeddedDriverArm64()};
    return s_images;
}
