#include "tools/zelhub/commands/CInfoCommand.h"

#include "tools/zelhub/input/CImageFile.h"

void CInfoCommand::Declare(CArguments& root)
{
    CArguments& args = Made(root.Sub("info", "Show what is in a firmware image file",
                                     "Needs no hub. Refuses what update would refuse."));
    args.Text("IMAGE", m_strImage, "firmware image file", true);
    args.Number("--flash-size", m_cbFlash, CImageFile::kMinSize, CImageFile::kMaxSize,
                "bytes of the hub's flash: refuse a larger image");
}

void CInfoCommand::Run(CToolContext& context)
{
    const CImageFile image = CImageFile::Load(m_strImage, static_cast<DWORD>(m_cbFlash));
    context.Out().Show(
        {{{"image", "Image"}, Cell(Printable(image.Path()))},
         {{"size", "Size"}, SizeCell(image.Size())},
         {{"chip", "Chip ID"}, Cell(Hex(image.ChipId(), 4))},
         {{"version", "Version"}, Cell(VersionText(image.Version()))},
         {{"otherVersion", "Other version"}, Cell(VersionText(image.OtherVersion()))}});
}
