#include "pigment/paged/ilFLSubImg.h"

const ilClassList ilFLSubImg::classList = {"a", &ilImage::classList};

ilFLSubImg::ilFLSubImg(ilImage* image, int x, int y, int nx, int ny, ilConfig* cfg)
    : ilFLSubImg(image, x, y, 0, nx, ny, 1, cfg) {}

ilFLSubImg::ilFLSubImg(ilImage* image, int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg)
    : window(image, x, y, z, nx, ny, nz, cfg) {
    maxInputs = 1;
    setAllowed(ilAttrDataType | ilAttrOrder | ilAttrCoordSpace | ilAttrColorModel | ilAttrFill |
               ilAttrMinValue | ilAttrMaxValue);
    if (image) setInput(image, 0);
}

ilFLSubImg::~ilFLSubImg() = default;

void ilFLSubImg::reset() {
    status = ilOK;
    ilImage* input = getInput(0);
    if (!input || input->resetCheck() != ilOK || window.resetCheck() != ilOK) {
        status = ilBadInput;
        return;
    }
    // A fill chosen here serves the window's reads beyond the region too.
    if (isSet(ilAttrFill))
        window.setFill(fill);
    else
        fill = window.getFill();
    if (!isSet(ilAttrMinValue)) minValue = window.getMinPixel();
    if (!isSet(ilAttrMaxValue)) maxValue = window.getMaxPixel();
    if (!isSet(ilAttrColorModel)) colorModel = window.getColorModel();
    if (!isSet(ilAttrOrder)) order = window.getOrder();
    if (!isSet(ilAttrDataType)) dataType = window.getDataType();
    if (!isSet(ilAttrCoordSpace)) coordSpace = window.getCoordSpace();
    size = window.getSize();
    initPageSize(size.x, size.y, size.z, 0);
    ilImage::reset();
}

ilStatus ilFLSubImg::getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                  int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    ilStatus s = resetCheck();
    return s != ilOK
               ? s
               : window.getSubTile3D(x, y, z, nx, ny, nz, data, bx, by, bz, bnx, bny, bnz, cfg);
}

ilStatus ilFLSubImg::setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                  int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    ilStatus s = resetCheck();
    if (s == ilOK)
        s = window.setSubTile3D(x, y, z, nx, ny, nz, data, bx, by, bz, bnx, bny, bnz, cfg);
    if (s == ilOK) setAltered(ilAlterPixelsOnly);
    return s;
}

ilStatus ilFLSubImg::copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other,
                                 int ox, int oy, int oz, ilConfig* cfg, int direction) {
    ilStatus s = resetCheck();
    if (s == ilOK) s = window.copyTileCfg(x, y, z, nx, ny, nz, other, ox, oy, oz, cfg, direction);
    return s;
}

ilStatus ilFLSubImg::fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                                ilConfig* cfg, const ilTile* exclude) {
    ilStatus s = resetCheck();
    if (s == ilOK) s = window.fillTile3D(x, y, z, nx, ny, nz, data, cfg, exclude);
    return s;
}
