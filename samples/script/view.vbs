' Uses the control from the command line, without a window to look at:
'
'     cscript //nologo view.vbs              says what the control is and how it is set up
'     cscript //nologo view.vbs 192.0.2.10   connects to that camera as well
'
' On 64-bit Windows this takes the 32-bit script host in SysWOW64.
Option Explicit

Const ecsConnecting = 0
Const ecsConnected = 1
Const ecpTCP = 2

Dim statusText: statusText = Array("connecting", "connected", "disconnected", "connection failed", _
    "multicast conflict", "user name or password rejected")

' Errors of a control are run-time errors: VBScript's own number where it knows the HRESULT (13 for a wrong type).
Sub Report(what)
    If Err.Number = 0 Then
        WScript.Echo what & " is accepted"
    Else
        WScript.Echo what & " is refused: error " & Err.Number & " " & Err.Description
    End If
    Err.Clear
End Sub

Sub ShowErrors(camera)
    camera.CHIndex = 0
    WScript.Echo "CHIndex = 0 is stored as " & camera.CHIndex
    On Error Resume Next
    camera.HttpPort = "eighty"
    Report "HttpPort = ""eighty"""
    camera.HttpPort = "80"
    Report "HttpPort = ""80"""
    camera.ConnectStatus = ecsConnected
    Report "ConnectStatus = 1"
    camera.StartRecording
    Report "StartRecording without a format"
End Sub

Sub Connect(camera, server)
    Dim waited
    camera.ServerIP = server
    camera.VideoProtocol = ecpTCP
    If camera.Connect() = 0 Then
        ' The outcome comes while the thread handles messages, which Sleep does.
        Do While camera.ConnectStatus = ecsConnecting And waited < 100
            WScript.Sleep 100
            waited = waited + 1
        Loop
    End If
    WScript.Echo server & ": " & statusText(camera.ConnectStatus)
    camera.Disconnect
End Sub

Dim camera
On Error Resume Next
Set camera = CreateObject("NORIXSDK.NorixSDKCtrl.1")
If Err.Number <> 0 Then
    WScript.Echo "The control is not registered for 32-bit programs: error " & Err.Number
    WScript.Quit 2
End If
On Error GoTo 0

WScript.Echo "NorixSDK " & camera.VersionInfo
WScript.Echo "  VideoProtocol = " & camera.VideoProtocol & ", ConnectionTimeout = " & camera.ConnectionTimeout & " ms"
ShowErrors camera
If WScript.Arguments.Count > 0 Then Connect camera, WScript.Arguments(0)
WScript.Echo "Done"
