#include "tools/zelhub/commands/CVerifyCommand.h"

#include "tools/zelhub/devices/COperationWatch.h"
#include "tools/zelhub/input/CImageFile.h"

void CVerifyCommand::Declare(CArguments& root)
{
    CArguments& args =
        Made(root.Sub("verify", "Compare a hub's flash with an image, byte by byte",
                      "Reads only. Of a hub with two banks, the one that runs is compared.\n"
                      "Exits 7 at the first difference, with its offset and both bytes."));
    args.Text("IMAGE", m_strImage, "firmware image file", true);
}

void CVerifyCommand::Run(CToolContext& context)
{
    const CImageFile image = CImageFile::Load(m_strImage, 0);
    CHubSession session(context);
    session.OpenChosen();
    const bool bDual = HubReads::IsDualBank(session.Status());
    COperationWatch watch(session, "verify " + ShellWord(m_strImage), image.Size(), false);
    session.Dev().SetFwBuf(image.Bytes());
    session.Dev().BeginPhase(Phase::Verify);
    if (!session.Dev().StrictReadBack())
        watch.FailByFacts();
    context.Progress().Clear();
    context.Out().Show(session.HubFields(
        {{{"image", "Image"}, Cell(Printable(image.Path()))},
         {{"size", "Size"}, SizeCell(image.Size())},
         {{"compared", "Compared"}, Cell(bDual ? "the bank that runs" : "the flash")},
         {{"result", "Result"}, Cell("equal")}}));
}
