#include "tools/zelhub/commands/CDumpCommand.h"

#include "tools/zelhub/devices/FlashDump.h"
#include "tools/zelhub/input/CImageFile.h"

void CDumpCommand::Declare(CArguments& root)
{
    CArguments& args = Made(
        root.Sub("dump", "Read a hub's flash into a file", "Writes the file whole or not at all."));
    args.Text("FILE", m_strFile, "file to write", true);
    args.Number("--size", m_cb, 1, CImageFile::kMaxSize, "bytes to read, from the flash's start",
                true);
    args.Flag("--overwrite", m_bOverwrite, "replace a file that exists");
}

void CDumpCommand::Run(CToolContext& context)
{
    CheckNewFile(m_strFile, m_bOverwrite);
    CHubSession session(context);
    session.OpenChosen();
    const std::vector<BYTE> flash = ReadFlashWhole(session, static_cast<DWORD>(m_cb), "read");
    SaveNewFile(m_strFile, flash);
    context.Progress().Clear();
    context.Out().Show(session.HubFields(
        {{{"file", "File"}, Cell(Printable(m_strFile))}, {{"size", "Size"}, SizeCell(m_cb)}}));
    if (IsBlank(flash))
        context.Out().Warn("what was read is blank: every byte is " + Hex(flash.front(), 2));
}
