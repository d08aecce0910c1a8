// Stands in for the vendor's library: answers with its arguments.

extern "C" __attribute__((visibility("default"))) int vexor_MRI_WL__decorated_name_here_(
    unsigned short* pixels, unsigned short width, unsigned short height, int one, int& first, int& second,
    unsigned short& windowWidth, unsigned short& windowCenter) {
    windowWidth = static_cast<unsigned short>(width * 100 + height * 10 + one);
    windowCenter = static_cast<unsigned short>(pixels[0] + first + second);
    first = second = -1;
    return -5;  // not looked at
}
